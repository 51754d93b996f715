// What systemd is told of the resident host or the web door, where it runs as a service.
#pragma once

#include "host/picture/Picture.h"

#include <string>

namespace bmhost {

/// How the blade is, in one line: "monitored since …", "start: 196626 (…), since …".
std::string ServiceStatus(const Picture& picture);

/// Used by one thread: the one whose life the watchdog guards. Where there is no systemd nothing happens.
class ServiceManager {
public:
    ServiceManager();

    /// The socket answers.
    void Ready();
    /// The thread is alive; and how the blade is.
    void Feed(const Picture& picture) { Feed(ServiceStatus(picture)); }
    /// @param status  one line
    void Feed(const std::string& status);
    /// The end has begun. Any thread.
    static void Stopping();
    /// Whether systemd has started this process.
    static bool IsThere();

private:
    bool m_watched = false;
    std::string m_status;
};

} // namespace bmhost
