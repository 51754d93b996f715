// The folder in which all queues of a user, or of a simulated blade, have their sockets.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>

namespace bm_queue {

/// Where the folder is: in a simulated blade's run folder, else in XDG_RUNTIME_DIR when that is the user's own, else in
/// /run for root and in /run/user/UID for others.
std::string QueueFolderName();

/// The same, made when it is not there. Nothing when another user could have made it, or may write to it: with `tell`
/// the log says so.
std::optional<std::string> QueueFolder(bool tell);

/// How long a binder waits for another one's lock of the folder.
extern std::chrono::milliseconds queueLockWait;

/// Keeps two binders apart: what is left of a dead process is found and removed by one of them only.
class QueueFolderLock {
public:
    explicit QueueFolderLock(const std::string& folder);

    /// False when it could not be had in time, or at all: the log says why.
    bool IsHeld() const { return m_isHeld; }

private:
    bm_dev::UniqueFd m_file;
    bool m_isHeld = false;
};

} // namespace bm_queue
