// What the kernel's driver does with the requests of all who opened /dev/ipmi0: one at a time to the controller, in the
// order of arrival, each reply to the opener it belongs to, and an answer of its own when the controller gives none.
#pragma once

#include "sim/base/BridgePacket.h"
#include "sim/controller/VMCodec.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace BLADESIM {

/// How long a controller may take, where nothing else is said.
constexpr std::chrono::milliseconds g_DriverTimeOut{5000};

/// The opener of an answer when he has closed; descriptors are never negative.
constexpr int g_Nobody = -1;

struct ANSWER {
    int m_Opener = g_Nobody;
    uint64_t m_Entry = 0; ///< as in Add
    BRIDGE_PACKET m_Packet{};
};

struct STARTED_REQUEST {
    uint64_t m_Entry; ///< as in Add
    VM_MESSAGE m_Message;
};

class REQUEST_QUEUE {
public:
    using CLOCK = std::chrono::steady_clock;

    /// `a_TimeOut` is how long a controller may take; 0: a driver that waits for ever.
    explicit REQUEST_QUEUE(std::chrono::milliseconds a_TimeOut = g_DriverTimeOut) : m_TimeOut(a_TimeOut) {}

    /// Queues a request for the controller. The entry is a number of the caller's by which he knows it again.
    void Add(int a_Opener, const BRIDGE_PACKET& a_Request, uint64_t a_Entry = 0);
    /// The next request to send, with its sequence number; nothing while one is outstanding.
    std::optional<STARTED_REQUEST> Start(CLOCK::time_point a_Now);
    /// What a message of the controller means; nothing when it answers nothing that is outstanding.
    std::optional<ANSWER> Accept(const VM_MESSAGE& a_Reply);
    /// When the outstanding request runs out; nothing when none is outstanding or the driver waits for ever.
    std::optional<CLOCK::time_point> Deadline() const;
    /// The time-out answer, when the outstanding request has run out.
    std::optional<ANSWER> Expire(CLOCK::time_point a_Now);
    /// An opener has closed: his waiting requests are dropped, a reply to the outstanding one goes nowhere.
    void Forget(int a_Opener);

private:
    struct REQUEST {
        int m_Opener;
        uint64_t m_Entry;
        BRIDGE_PACKET m_Packet;
    };

    ANSWER Finish(const BRIDGE_PACKET& a_Answer);

    std::chrono::milliseconds m_TimeOut;
    std::deque<REQUEST> m_Requests;
    bool m_Outstanding = false; // the first one is
    std::optional<CLOCK::time_point> m_Deadline;
    uint8_t m_Sequence = 0;
};

/// The driver's own answer to a request that cannot be delivered: a time-out, from the address that was asked.
BRIDGE_PACKET TimeOutAnswer(const BRIDGE_PACKET& a_Request);

} // namespace BLADESIM
