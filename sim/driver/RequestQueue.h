// What the kernel's driver does with the requests of all openers of /dev/ipmi0: it sends one at a time to the
// controller, in order of arrival, passes each reply to its opener, and answers itself when the controller does not.
#pragma once

#include "sim/base/BridgePacket.h"
#include "sim/controller/VMCodec.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace bladesim {

/// How long a controller may take, by default.
constexpr std::chrono::milliseconds DriverTimeOut{5000};

/// The opener of an answer when the opener has closed; descriptors are never negative.
constexpr int Nobody = -1;

struct Answer {
    int m_opener = Nobody;
    uint64_t m_entry = 0; ///< as in Add
    BridgePacket m_packet{};
};

struct StartedRequest {
    uint64_t m_entry; ///< as in Add
    VmMessage m_message;
};

class RequestQueue {
public:
    using Clock = std::chrono::steady_clock;

    /// `timeOut` is how long a controller may take; 0: the driver waits for ever.
    explicit RequestQueue(std::chrono::milliseconds timeOut = DriverTimeOut) : m_timeOut(timeOut) {}

    /// Queues a request for the controller. `entry` is the caller's own number for it.
    void Add(int opener, const BridgePacket& request, uint64_t entry = 0);
    /// The next request to send, with its sequence number; nullopt while one is outstanding.
    std::optional<StartedRequest> Start(Clock::time_point now);
    /// The answer in a message of the controller; nullopt when it answers no outstanding request.
    std::optional<Answer> Accept(const VmMessage& reply);
    /// When the outstanding request times out; nullopt when none is outstanding or the driver waits for ever.
    std::optional<Clock::time_point> Deadline() const;
    /// The time-out's answer, when the outstanding request has timed out.
    std::optional<Answer> Expire(Clock::time_point now);
    /// The sequence number of the outstanding request; nullopt when none is.
    std::optional<uint8_t> Outstanding() const;
    /// The time-out's answer to the outstanding request, whatever the time; nullopt when none is outstanding.
    std::optional<Answer> GiveUp();
    /// An opener has closed: its waiting requests and the reply to its outstanding one are dropped.
    void Forget(int opener);

private:
    struct Request {
        int m_opener;
        uint64_t m_entry;
        BridgePacket m_packet;
    };

    Answer Finish(const BridgePacket& answer);

    std::chrono::milliseconds m_timeOut;
    std::deque<Request> m_requests;
    bool m_outstanding = false; // whether the first one is outstanding
    std::optional<Clock::time_point> m_deadline;
    uint8_t m_sequence = 0;
};

/// The driver's own answer to a request that cannot be delivered: a time-out, from the address that was asked.
BridgePacket TimeOutAnswer(const BridgePacket& request);

} // namespace bladesim
