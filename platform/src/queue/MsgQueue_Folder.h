// The folder in which all queues of a user, or of a simulated blade, have their sockets.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>

namespace bm_queue {

/// The folder's path: in a simulated blade's run folder; otherwise in XDG_RUNTIME_DIR if that belongs to the user;
/// otherwise in /run for root and in /run/user/UID for others.
std::string QueueFolderName();

/// The same, created when it is missing. Empty when another user could have made it or may write to it; with `tell` the
/// log says so.
std::optional<std::string> QueueFolder(bool tell);

/// How long a binder waits for another binder's lock on the folder.
extern std::chrono::milliseconds queueLockWait;

/// Keeps two binders apart, so that only one of them finds and removes the socket of a dead process.
class QueueFolderLock {
public:
    explicit QueueFolderLock(const std::string& folder);

    /// False when the lock could not be taken; the log says why.
    bool IsHeld() const { return m_isHeld; }

private:
    bm_dev::UniqueFd m_file;
    bool m_isHeld = false;
};

} // namespace bm_queue
