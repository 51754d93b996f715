// PICMG FRU Control: sent by a host thread, never waited for.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_trace.h"
#include "ipmi/probe/IPMI_Probe_Request.h"

#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <array>

namespace BM_ADAPTOR {

namespace {

constexpr PROBE_REQUEST FRU_CONTROL = {
    IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_FRU_CONTROL, ENTITYCAPTURE::s_ReceivedFRUControl,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendFRUControl - rc=%i", a_Result); }};

} // namespace

int ENTITYCAPTURE::SendFRUControl(int a_FRUID, int a_Option) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendFRUControl");
    const std::array<unsigned char, 3> l_Data = {IPMI_PICMG_GRP_EXT, static_cast<unsigned char>(a_FRUID),
                                                 static_cast<unsigned char>(a_Option)};
    // A request that somebody waits for keeps its code; otherwise its reply would be taken for a stray one.
    int32_t l_Idle = PROBE_IDLE;
    m_State.compare_exchange_strong(l_Idle, PROBE_FRU_CONTROL);
    return Ask(FRU_CONTROL, l_Data);
}

// Accepts the reply while the code is that of Set FRU LED State, not the one that SendFRUControl sets; on purpose.
// Accepting changes nothing: a thread that waits for the LED's reply goes on waiting.
int ENTITYCAPTURE::ReceivedFRUControl(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_SET_LED_STATE, "ENTITYCAPTURE :: ReceivedFRUControl -- incorrect State\n")) return -1;
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUControl CC=0x%x", l_Reply.CompletionCode());
    return 0;
}

} // namespace BM_ADAPTOR
