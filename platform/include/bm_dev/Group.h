// Files that a group of the system may read or write.
#pragma once

#include <cerrno>
#include <grp.h>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace bm_dev {

/// The id of the group with this name; nullopt: there is none. Any thread.
inline std::optional<gid_t> GroupNamed(const char* name) {
    std::vector<char> texts(65536); // of all its members
    group known{};
    group* found = nullptr;
    if (getgrnam_r(name, &known, texts.data(), texts.size(), &found) != 0 || found == nullptr) return std::nullopt;
    return known.gr_gid;
}

/// Whether chown() gave this error because of who called it: he may not give a file to the group, or there is no such
/// group in his user namespace.
inline bool MayNotGiveToGroup(int error) {
    return error == EPERM || error == EINVAL;
}

} // namespace bm_dev
