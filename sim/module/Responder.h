// All that the carrier answers for a controller: what its blade says, except where the blade file keeps the very reply.
#pragma once

#include "sim/base/Bytes.h"
#include "sim/module/Carrier.h"
#include "sim/module/InventoryAreas.h"

#include <cstdint>
#include <map>
#include <vector>

namespace bladesim {

class Responder {
public:
    explicit Responder(const Blade& blade);

    /// For Get Device ID, the FRU inventory commands, and network function 0x2C. Other commands are ipmi_sim's own.
    Reply Answer(uint8_t netFn, uint8_t command, Request request, LedClock::time_point now);

    const Carrier& Served() const { return m_carrier; }

private:
    Reply AnswerByBlade(uint8_t netFn, uint8_t command, Request request, LedClock::time_point now);
    void ForgetKept(const Bytes& beginning);
    void ForgetWhatChanged(uint8_t netFn, uint8_t command, Request request);

    Carrier m_carrier;
    InventoryAreas m_inventory;
    std::map<Bytes, Bytes> m_kept; ///< replies by request: network function, command, data
};

} // namespace bladesim
