// Who has a blade, by what stands in its lock's file.
#pragma once

#include "host/client/HostClient.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace bmhost {

struct HostOwner {
    pid_t m_process = 0;
    std::string m_started; ///< as it stands there
    std::string m_program;

    bool IsResident() const { return m_program == "bmhostd"; }
    /// "bmhostd, process 4711, since 2026-11-22T09:30:00.125Z".
    std::string Text() const;
};

/// Nothing when no process that lives has told there that the blade is its own.
std::optional<HostOwner> OwnerOf(const HostPlace& place);

/// "the resident host (process 4711)"; without the process when that is 0.
std::string HostText(pid_t process);
/// The same, or "the web door at https://blade7:8443".
std::string HostText(const HostEnd& end);
/// "the resident host (process 4711) at /run/bmhost/bmhost.sock", or the door.
std::string PlacedHostText(const HostEnd& end);

} // namespace bmhost
