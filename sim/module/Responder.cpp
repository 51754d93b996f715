// All that the carrier answers for a controller: what its blade says, except where the blade file keeps the very reply.
#include "sim/module/Responder.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <algorithm>

namespace bladesim {

Responder::Responder(const Blade& blade) : m_carrier(blade), m_inventory(blade), m_kept(blade.m_replies) {}

Reply Responder::Answer(uint8_t netFn, uint8_t command, Request request, LedClock::time_point now) {
    Bytes whole = {netFn, command};
    whole.insert(whole.end(), request.begin(), request.end());
    const auto kept = m_kept.find(whole);
    if (kept != m_kept.end()) return kept->second;
    Reply reply = AnswerByBlade(netFn, command, request, now);
    if (reply[0] == 0) ForgetWhatChanged(netFn, command, request);
    return reply;
}

Reply Responder::AnswerByBlade(uint8_t netFn, uint8_t command, Request request, LedClock::time_point now) {
    if (netFn == IPMI_APP_NETFN) return m_carrier.DeviceId();
    if (netFn == IPMI_STORAGE_NETFN) return m_inventory.Answer(command, request);
    return m_carrier.Answer(command, request, now);
}

void Responder::ForgetKept(const Bytes& beginning) {
    std::erase_if(m_kept, [&](const auto& kept) {
        return kept.first.size() >= beginning.size() &&
               std::equal(beginning.begin(), beginning.end(), kept.first.begin());
    });
}

/// A reply that was kept says nothing any more about an LED that was set, or an area that was written.
void Responder::ForgetWhatChanged(uint8_t netFn, uint8_t command, Request request) {
    if (netFn == IPMI_GROUP_EXTENSION_NETFN && command == IPMI_PICMG_CMD_SET_FRU_LED_STATE) {
        ForgetKept({netFn, IPMI_PICMG_CMD_GET_FRU_LED_STATE, request[0], request[1], request[2]});
    }
    if (netFn == IPMI_STORAGE_NETFN && command == IPMI_WRITE_FRU_DATA_CMD) {
        ForgetKept({netFn, IPMI_READ_FRU_DATA_CMD, request[0]});
    }
}

} // namespace bladesim
