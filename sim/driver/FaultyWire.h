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

namespace BLADESIM {

/// What becomes of a request.
struct WIRE_REQUEST {
    std::optional<VM_MESSAGE> m_ForController;
    std::optional<VM_MESSAGE> m_Reply;               ///< comes instead of the controller's
    std::optional<std::chrono::milliseconds> m_Gone; ///< the controller goes away for so long; 0: for good
    std::optional<FAULT_KIND> m_Fault;               ///< what hit it
};

/// A reply that reaches the driver.
struct WIRE_REPLY {
    VM_MESSAGE m_Message;
    bool m_Twice = false; ///< the driver is to hand its answer out twice, which a sound driver never does
};

class FAULTY_WIRE {
public:
    using CLOCK = std::chrono::steady_clock;

    /// The table must outlive the wire.
    explicit FAULTY_WIRE(FAULT_TABLE& a_Faults) : m_Faults(a_Faults) {}

    WIRE_REQUEST Send(const VM_MESSAGE& a_Request);
    /// A reply of the controller: what of it arrives at once.
    std::vector<WIRE_REPLY> Receive(const VM_MESSAGE& a_Reply, CLOCK::time_point a_Now);
    /// Late replies whose time has come.
    std::vector<WIRE_REPLY> Due(CLOCK::time_point a_Now);
    /// When the next of them comes; nothing when none is on its way.
    std::optional<CLOCK::time_point> Deadline() const;
    /// Lets go of what was kept as lost: replies that are here arrive, one that the controller still owes will.
    std::vector<WIRE_REPLY> Release();
    /// The controller has gone: it owes no reply any more.
    void ForgetController();

private:
    struct HELD {
        VM_MESSAGE m_Reply;
        std::optional<CLOCK::time_point> m_Due; ///< nothing: kept until Release
    };

    FAULT_TABLE& m_Faults;
    std::map<uint8_t, FAULT> m_Owed; ///< by sequence number: what is to happen to a reply when it comes
    std::vector<HELD> m_Held;
};

} // namespace BLADESIM
