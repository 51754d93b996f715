// The FRU inventory areas of a blade and the commands that read and write them.
#pragma once

#include "sim/blade/Blade.h"
#include "sim/module/Message.h"

#include <cstdint>
#include <map>
#include <vector>

namespace bladesim {

/// What is written lasts as long as the controller.
class InventoryAreas {
public:
    explicit InventoryAreas(const Blade& blade);

    /// A request of the storage network function: area info, read, write. A FRU without an area is "not present".
    Reply Answer(uint8_t command, Request request);

private:
    using Area = std::vector<uint8_t>;

    static Reply Info(const Area& area);
    static Reply Read(const Area& area, size_t offset, size_t count);
    static Reply Write(Area& area, size_t offset, Request data);

    std::map<uint8_t, Area> m_areas; ///< by FRU id
};

} // namespace bladesim
