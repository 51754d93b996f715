// What a shelf stands on before the first blade is in it: folder, names, base interface, authority, account.
#pragma once

#include "sim/base/Paths.h"
#include "sim/shelf/Authority.h"
#include "sim/shelf/Backplane.h"
#include "sim/shelf/BladeFolder.h"
#include "sim/shelf/ShelfPlan.h"
#include "sim/shelf/Slot.h"

#include <vector>

namespace bladesim {

/// In the shelf's own namespaces, with which all of it goes. Throws a BladeError.
class Ground {
public:
    Ground(const Paths& paths, const std::vector<ShelfPlace>& places);
    Ground(const Ground&) = delete;
    Ground& operator=(const Ground&) = delete;

    /// What the command, and the blades, find in their environment.
    void SetEnvironment() const;
    BladeFolder MakeFolder(const ShelfPlace& place) const;
    const ShelfParts& Parts() const { return m_parts; }

private:
    void MakeAccount();
    void BindHostNames(const std::vector<ShelfPlace>& places) const;

    const Paths& m_paths;
    ShelfFiles m_files;
    Backplane m_backplane;
    Authority m_authority;
    ShelfParts m_parts;
    std::string m_password;
};

} // namespace bladesim
