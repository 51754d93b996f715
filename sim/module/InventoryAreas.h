// The FRU inventory areas of a blade and the commands that read and write them.
#pragma once

#include "sim/blade/Blade.h"
#include "sim/module/Message.h"

#include <cstdint>
#include <map>
#include <vector>

namespace BLADESIM {

/// What is written lasts as long as the controller.
class INVENTORY_AREAS {
public:
    explicit INVENTORY_AREAS(const BLADE& a_Blade);

    /// A request of the storage network function: area info, read, write. A FRU without an area is "not present".
    REPLY Answer(uint8_t a_Command, REQUEST a_Request);

private:
    using AREA = std::vector<uint8_t>;

    static REPLY Info(const AREA& a_Area);
    static REPLY Read(const AREA& a_Area, size_t a_Offset, size_t a_Count);
    static REPLY Write(AREA& a_Area, size_t a_Offset, REQUEST a_Data);

    std::map<uint8_t, AREA> m_Areas; ///< by FRU id
};

} // namespace BLADESIM
