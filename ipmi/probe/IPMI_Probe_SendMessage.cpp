// The bridged message: a trap for diagnostic builds. It ends the process in every case; nothing calls it.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <OpenIPMI/ipmi_err.h>
#include <OpenIPMI/ipmi_msgbits.h>

#include <cstdlib>
#include <string>
#include <system_error>

namespace BM_ADAPTOR {

namespace {

constexpr std::size_t COMPOSE_BUFFER = 256;
constexpr int COMPOSED_LENGTH = 7;
constexpr unsigned char COMPOSE_CHANNEL = 0x47;

} // namespace

int ENTITYCAPTURE::ComposeMessage(unsigned char a_Address) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ComposeMessage Address=0x%x", a_Address);
    auto* l_Data = new unsigned char[COMPOSE_BUFFER]{}; // not freed: the process ends in SendMessage
    l_Data[0] = COMPOSE_CHANNEL;
    l_Data[1] = a_Address;
    l_Data[2] = ipmb_checksum(l_Data, 2);
    l_Data[5] = 0x01;
    l_Data[6] = ipmb_checksum(l_Data + 3, 3);
    std::string l_Line;
    for (int i = 0; i < COMPOSED_LENGTH; ++i)
        l_Line += FormatText("B%i=0x%x ", i, l_Data[i]);
    LogTrace(g_Logger2, "%s", l_Line.c_str());
    return SendMessage(l_Data, COMPOSED_LENGTH);
}

int ENTITYCAPTURE::SendMessage(unsigned char* a_Data, int a_Length) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendMessage - data= 0x%p", static_cast<void*>(a_Data));
    m_State = PROBE_SEND_MESSAGE;
    const auto l_Length = static_cast<std::size_t>(a_Data != nullptr && a_Length > 0 ? a_Length : 0);
    const int l_Result =
        Send(IPMI_APP_NETFN, IPMI_SEND_MSG_CMD, {a_Data, l_Length}, s_ReceivedSendMessage, m_ReadFRUOffset);
    LogError(g_Logger2, "ENTITYCAPTURE :: SendMessage - rc=%i", l_Result);
    const int l_Low = l_Result & 0xFF;
    const int l_Top = l_Result & ~0xFF;
    if (l_Top == IPMI_OS_ERR_TOP) { // success too ends here
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendMessage - rc=%i OS error %s", l_Result,
                 std::generic_category().message(l_Low).c_str());
        exit(1);
    }
    if (l_Top == IPMI_IPMI_ERR_TOP) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendMessage - rc=%i IPMI error 0x%x", l_Result, l_Low);
        exit(1);
    }
    return 0;
}

int ENTITYCAPTURE::ReceivedSendMessage(const ipmi_msgi_t&) {
    exit(1);
}

} // namespace BM_ADAPTOR
