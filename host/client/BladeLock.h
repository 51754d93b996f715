// The lock of a blade: its holder is the only process that changes the blade.
#pragma once

#include "host/client/HostClient.h"

#include "bm_dev/UniqueFd.h"

#include <string>
#include <sys/types.h>

namespace bmhost {

/// Has the lock as long as it lives. The kernel frees it with the process, so what a dead one left is no obstacle.
class BladeLock {
public:
    /// Makes the folder where there is none: for root, and for the group bmhost where the machine has one. Throws
    /// OtherHostError naming the program that has the lock, its process and the time since; std::runtime_error when
    /// folder or file is not what it must be.
    /// @param program  "bmhostd", "bmhost led set": what others are told
    BladeLock(const HostPlace& place, const std::string& program);
    BladeLock(const BladeLock&) = delete;
    BladeLock& operator=(const BladeLock&) = delete;
    ~BladeLock();

    /// The program that had the lock before and died with it: its end did not come to give it back. Empty otherwise.
    const std::string& DiedBefore() const { return m_diedBefore; }
    /// Tells others that nobody has died, when this process ends without the destructor.
    void GiveBack() const;

    /// The folder, for what belongs beside the lock.
    int Folder() const { return m_folder.Get(); }

private:
    bool Take(const std::string& path) const;

    bm_dev::UniqueFd m_folder;
    bm_dev::UniqueFd m_file;
    std::string m_diedBefore;
};

/// The group whose members may ask the resident host; the process's own where the machine has no group bmhost.
gid_t GroupOfAskers();

} // namespace bmhost
