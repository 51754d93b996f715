// What is passed on to the resident host, each piece by a thread that may wait for it.
#pragma once

#include "host/client/HostClient.h"
#include "host/resident/Lane.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bmhost {

struct ForwarderLimits {
    unsigned m_threads = 8;
    std::size_t m_waiting = 8; ///< besides what is under way
    /// For an answer: the longest that the adaptor may take.
    std::chrono::milliseconds m_answer{600'000};
};

/// Any thread.
class Forwarder {
public:
    /// Asks the host; may throw what the client throws.
    using Work = std::function<HostAnswer(HostClient& host)>;
    /// Called once, on a thread of the forwarder's; not at all for what is dropped at the end.
    using Done = std::function<void(HostAnswer answer)>;

    /// Hears of each answer, before it is used; on a thread of the forwarder's.
    using Told = std::function<void(const std::string& account, const HostAnswer& answer)>;

    explicit Forwarder(HostPlace place, const ForwarderLimits& limits = {});
    Forwarder(const Forwarder&) = delete;
    Forwarder& operator=(const Forwarder&) = delete;

    /// Before the first work is given.
    void Tell(Told told) { m_told = std::move(told); }

    /// @param account  for whom: "anna (192.0.2.7)", or nobody
    /// What cannot be asked is answered with an error: 503 without a host, 504 when its time is up, 502 for the rest.
    /// False when all threads are busy and too much waits already: the work is dropped.
    bool Give(const std::string& account, Work work, Done done);

    /// Drops what waits. False when the host has not answered in this time; then the threads use this object further.
    bool End(std::chrono::milliseconds time) { return m_lane.End(time); }

private:
    HostAnswer Ask(const std::string& account, const Work& work);
    std::unique_ptr<HostClient> TakeClient();

    const HostPlace m_place;
    const ForwarderLimits m_limits;
    Told m_told;
    std::mutex m_guard;
    std::vector<std::unique_ptr<HostClient>> m_idle; ///< connections that are not in use
    Lane m_lane;                                     // last, since its threads use the other members
};

/// One part of an address, whatever a client has written in it.
std::string EncodedPart(std::string_view text);

/// {"error": {"operation", "value", "reason"}}
HostAnswer HostErrorAnswer(unsigned status, const std::string& reason);

} // namespace bmhost
