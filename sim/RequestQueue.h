// What the kernel's driver does with the requests of all who opened /dev/ipmi0: one at a time to the controller, in the
// order of arrival, each reply to the opener it belongs to, and an answer of its own when the controller gives none.
#pragma once

#include "sim/BridgePacket.h"
#include "sim/VMCodec.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace BLADESIM {

/// A packet for one opener.
struct ANSWER {
    int m_Opener;
    BRIDGE_PACKET m_Packet;
};

class REQUEST_QUEUE {
public:
    using CLOCK = std::chrono::steady_clock;

    /// How long a controller may take.
    static constexpr std::chrono::milliseconds m_TimeOut{5000};

    /// Queues a request for the controller.
    void Add(int a_Opener, const BRIDGE_PACKET& a_Request);
    /// The next request to send, with its sequence number; nothing while one is outstanding.
    std::optional<VM_MESSAGE> Start(CLOCK::time_point a_Now);
    /// What a message of the controller means; nothing when it answers nothing that is outstanding.
    std::optional<ANSWER> Accept(const VM_MESSAGE& a_Reply);
    /// When the outstanding request runs out; nothing when none is outstanding.
    std::optional<CLOCK::time_point> Deadline() const;
    /// The time-out answer, when the outstanding request has run out.
    std::optional<ANSWER> Expire(CLOCK::time_point a_Now);
    /// An opener has closed: its waiting requests are dropped, a reply to the outstanding one goes nowhere.
    void Forget(int a_Opener);

private:
    struct REQUEST {
        int m_Opener;
        BRIDGE_PACKET m_Packet;
    };

    std::optional<ANSWER> Finish(const BRIDGE_PACKET& a_Answer);

    std::deque<REQUEST> m_Requests; // the first one is outstanding when there is a deadline
    std::optional<CLOCK::time_point> m_Deadline;
    uint8_t m_Sequence = 0;
};

/// The driver's own answer to a request that cannot be delivered: a time-out, from the address that was asked.
BRIDGE_PACKET TimeOutAnswer(const BRIDGE_PACKET& a_Request);

} // namespace BLADESIM
