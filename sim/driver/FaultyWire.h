// The wire between the driver and the controller, with the faults that happen on it: what becomes of each request on
// its way there and of each reply on its way back.
#pragma once

#include "sim/controller/VMCodec.h"
#include "sim/driver/Faults.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace bladesim {

/// What happens to a request.
struct WireRequest {
    std::optional<VmMessage> m_forController;
    std::optional<VmMessage> m_reply;                ///< comes instead of the controller's
    std::optional<std::chrono::milliseconds> m_gone; ///< the controller goes away for this long; 0: for good
    std::optional<FaultKind> m_fault;                ///< what hit it
    bool m_restarted = false;                        ///< the controller goes away and is back before the next request
};

/// A reply that reaches the driver.
struct WireReply {
    VmMessage m_message;
    bool m_twice = false; ///< the opener is to get its answer twice, which a correct driver never does
};

class FaultyWire {
public:
    using Clock = std::chrono::steady_clock;

    /// The table must outlive the wire.
    explicit FaultyWire(FaultTable& faults) : m_faults(faults) {}

    WireRequest Send(const VmMessage& request);
    /// Takes a reply of the controller and returns what arrives at once.
    std::vector<WireReply> Receive(const VmMessage& reply, Clock::time_point now);
    /// Late replies whose time has come.
    std::vector<WireReply> Due(Clock::time_point now);
    /// When the next of them is due; nullopt when there is none.
    std::optional<Clock::time_point> Deadline() const;
    /// Whether it keeps the reply to this request.
    bool Keeps(uint8_t sequence) const;
    /// Releases the replies that were kept as lost. They arrive now, and so does a reply that the controller still
    /// owes.
    std::vector<WireReply> Release();
    /// The controller has gone and owes no more replies.
    void ForgetController();

private:
    struct Held {
        VmMessage m_reply;
        std::optional<Clock::time_point> m_due; ///< nullopt: kept until Release
    };

    FaultTable& m_faults;
    std::map<uint8_t, Fault> m_owed; ///< by sequence number: what will happen to the reply
    std::vector<Held> m_held;
};

} // namespace bladesim
