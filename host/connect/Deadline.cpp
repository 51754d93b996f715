// Until when something is waited for.
#include "host/connect/Deadline.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <system_error>

namespace bmhost {

Deadline DeadlineAfter(std::optional<std::chrono::milliseconds> time) {
    if (!time) return std::nullopt;
    return std::chrono::steady_clock::now() + *time;
}

int TimeLeft(const Deadline& deadline) {
    if (!deadline) return -1;
    constexpr std::chrono::milliseconds none(0);
    constexpr std::chrono::milliseconds longest(24 * 60 * 60 * 1000);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp(left, none, longest).count());
}

short WaitFor(int descriptor, short events, const Deadline& deadline) {
    for (;;) {
        pollfd wanted{descriptor, events, 0};
        const int ready = poll(&wanted, 1, TimeLeft(deadline));
        if (ready > 0) return wanted.revents;
        if (ready < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
        if (deadline && std::chrono::steady_clock::now() >= *deadline) throw DeadlinePassed();
    }
}

} // namespace bmhost
