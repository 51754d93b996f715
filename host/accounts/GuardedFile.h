// A file that decides who may come in: read only when nobody else can have written it, replaced as a whole.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <optional>
#include <string>

namespace bmhost {

/// Its text; nothing if there is no such file. Throws std::runtime_error that names file and reason: it is no plain
/// file, somebody besides its owner may write it, it belongs to a stranger, everybody may read it, or it is too large.
std::optional<std::string> ReadGuarded(const std::string& path);

/// Puts a file with this text in its place, whatever happens meanwhile: the old one as a whole or the new one as a
/// whole. On return it is on disk. A file that a group may read stays that group's; else the group gets it, where it
/// exists. Throws std::runtime_error.
void ReplaceGuarded(const std::string& path, const std::string& text, const char* group);

/// Held by one process at a time; others wait. It is a file beside the guarded one, which its owner alone may open, so
/// that nobody who may only read can hold up a change.
class GuardLock {
public:
    /// Throws std::runtime_error.
    explicit GuardLock(const std::string& path);

private:
    bm_dev::UniqueFd m_file;
};

} // namespace bmhost
