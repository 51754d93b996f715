// One upgrade a blade, whichever process began it.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <string>

namespace bmhost {

/// Has the folder of images for itself as long as it lives. What a dead process left there is removed, unless its tool
/// still works with it.
class UpgradeLock {
public:
    /// Throws UsageError where an upgrade is under way; std::runtime_error where folder or lock cannot be had.
    explicit UpgradeLock(const std::string& folder);

private:
    bm_dev::UniqueFd m_file;
};

} // namespace bmhost
