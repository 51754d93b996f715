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

/// What becomes of a request.
struct WireRequest {
    std::optional<VmMessage> m_forController;
    std::optional<VmMessage> m_reply;                ///< comes instead of the controller's
    std::optional<std::chrono::milliseconds> m_gone; ///< the controller goes away for so long; 0: for good
    std::optional<FaultKind> m_fault;                ///< what hit it
};

/// A reply that reaches the driver.
struct WireReply {
    VmMessage m_message;
    bool m_twice = false; ///< the driver is to hand its answer out twice, which a sound driver never does
};

class FaultyWire {
public:
    using Clock = std::chrono::steady_clock;

    /// The table must outlive the wire.
    explicit FaultyWire(FaultTable& faults) : m_faults(faults) {}

    WireRequest Send(const VmMessage& request);
    /// A reply of the controller: what of it arrives at once.
    std::vector<WireReply> Receive(const VmMessage& reply, Clock::time_point now);
    /// Late replies whose time has come.
    std::vector<WireReply> Due(Clock::time_point now);
    /// When the next of them comes; nothing when none is on its way.
    std::optional<Clock::time_point> Deadline() const;
    /// Lets go of what was kept as lost: replies that are here arrive, one that the controller still owes will.
    std::vector<WireReply> Release();
    /// The controller has gone: it owes no reply any more.
    void ForgetController();

private:
    struct Held {
        VmMessage m_reply;
        std::optional<Clock::time_point> m_due; ///< nothing: kept until Release
    };

    FaultTable& m_faults;
    std::map<uint8_t, Fault> m_owed; ///< by sequence number: what is to happen to a reply when it comes
    std::vector<Held> m_held;
};

} // namespace bladesim
