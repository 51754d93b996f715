// The inventory's LED steps: which LEDs a FRU has, and which colours each of them supports.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_trace.h"
#include "ipmi/probe/IPMI_Probe_Request.h"

#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <array>

namespace BM_ADAPTOR {

namespace {

// How many LEDs a mask of supported LEDs names. A mask with a gap counts as none; the number of application LEDs is not
// used.
int LEDCount(unsigned a_Mask) {
    switch (a_Mask) {
    case 0x0F:
        return 4;
    case 0x07:
        return 3;
    case 0x03:
        return 2;
    case 0x01:
        return 1;
    default:
        return 0;
    }
}

// PICMG 3.0, Get LED Color Capabilities: bit n of the capability byte is colour code n.
constexpr struct {
    bool IPMI_LED::*m_Flag;
    unsigned m_Mask;
} LED_COLORS[] = {
    {&IPMI_LED::m_bBlue, 1U << 1},  {&IPMI_LED::m_bRed, 1U << 2},    {&IPMI_LED::m_bGreen, 1U << 3},
    {&IPMI_LED::m_bAmber, 1U << 4}, {&IPMI_LED::m_bOrange, 1U << 5}, {&IPMI_LED::m_bWhite, 1U << 6},
};

constexpr PROBE_REQUEST GET_LED_PROPERTIES = {
    IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_GET_FRU_LED_PROPERTIES, ENTITYCAPTURE::s_ReceivedPICMCLEDProps,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDProps - rc=%i", a_Result); }};

constexpr PROBE_REQUEST GET_LED_COLOR_CAPS = {
    IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_GET_LED_COLOR_CAPABILITIES, ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDColorCaps - rc=%i", a_Result); }};

} // namespace

int ENTITYCAPTURE::SendGetPICMCLEDProps(int a_FRUID) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDProps FRUID=%d", a_FRUID);
    const std::array<unsigned char, 2> l_Data = {IPMI_PICMG_GRP_EXT, static_cast<unsigned char>(a_FRUID)};
    m_FRUID = a_FRUID;
    m_State = PROBE_LED_PROPERTIES;
    return Ask(GET_LED_PROPERTIES, l_Data);
}

int ENTITYCAPTURE::ReceivedPICMCLEDProps(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_LED_PROPERTIES, "ENTITYCAPTURE :: ReceivedPICMCLEDProps -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDProps this=0x%p state=%i FRUID=%d", static_cast<void*>(this),
             m_State.load(), m_FRUID);
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDProps CC=0x%x", l_Reply.CompletionCode());
    const unsigned l_SupportedLEDs = l_Reply.IsGood(3) ? l_Reply[2] & 0x0FU : 0; // a refusal is a FRU without LEDs
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDProps - l_SupportedLEDs =0x%x", l_SupportedLEDs);
    const int l_Count = LEDCount(l_SupportedLEDs);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDProps - found %i LEDs", l_Count);
    IPMI_ENTITY* l_Entity = FindEntity(m_FRUID);
    if (l_Entity != nullptr) AddLEDs(*l_Entity, l_Count);
    if (l_Entity != nullptr && l_Count > 0) return BeginColorCaps(m_FRUID);
    return m_FRUID < m_MaxFRUID ? SendGetPICMCLEDProps(m_FRUID + 1) : ContinueWithLEDsOf(m_FRUID + 1);
}

void ENTITYCAPTURE::AddLEDs(IPMI_ENTITY& a_Entity, int a_Count) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDProps - Adding %i LEDs", a_Count);
    for (int l_ID = 0; l_ID < a_Count; ++l_ID) {
        IPMI_LED*& l_LED = a_Entity.m_LEDMap[l_ID];
        if (l_LED == nullptr) l_LED = new IPMI_LED;
        l_LED->m_Channel = a_Entity.m_Channel;
        l_LED->m_Address = a_Entity.m_Address;
        l_LED->m_EntityID = a_Entity.m_EntityID;
        l_LED->m_EntityInstance = a_Entity.m_EntityInstance;
        l_LED->m_LEDID = l_ID;
    }
}

// Asks for the colours of the FRU's first LED; every FRU after the first one with LEDs is announced.
int ENTITYCAPTURE::BeginColorCaps(int a_FRUID) {
    if (m_bColorCapsBegun) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Going to get Caps for FRUID %i", a_FRUID);
    }
    m_bColorCapsBegun = true;
    return SendGetPICMCLEDColorCaps(a_FRUID, 0);
}

int ENTITYCAPTURE::SendGetPICMCLEDColorCaps(int a_FRUID, int a_LEDID) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDColorCaps FRUID=%d LEDID=%d", a_FRUID, a_LEDID);
    const IPMI_ENTITY* l_Entity = FindEntity(a_FRUID);
    const int l_Count = l_Entity != nullptr ? static_cast<int>(l_Entity->m_LEDMap.size()) : 0;
    if (a_LEDID >= l_Count) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDColorCaps ERROR LEDID=%i larger than max LED %i", a_LEDID,
                 l_Count);
        return -1;
    }
    const std::array<unsigned char, 3> l_Data = {IPMI_PICMG_GRP_EXT, static_cast<unsigned char>(a_FRUID),
                                                 static_cast<unsigned char>(a_LEDID)};
    m_FRUID = a_FRUID;
    m_LEDID = a_LEDID;
    m_State = PROBE_LED_COLOR_CAPS;
    return Ask(GET_LED_COLOR_CAPS, l_Data);
}

int ENTITYCAPTURE::ReceivedPICMCLEDColorCaps(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_LED_COLOR_CAPS, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps FRUID=%i LEDID=%i", m_FRUID, m_LEDID);
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps CC=0x%x", l_Reply.CompletionCode());
    const unsigned l_Colors = l_Reply.IsGood(3) ? l_Reply[2] : 0; // a refusal leaves every flag clear
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps SupportedColor=0x%x", l_Colors);
    const IPMI_ENTITY* l_Entity = FindEntity(m_FRUID);
    const auto* l_LEDs = l_Entity != nullptr ? &l_Entity->m_LEDMap : nullptr;
    const auto l_LED = l_LEDs != nullptr ? l_LEDs->find(m_LEDID) : std::map<int, IPMI_LED*>::const_iterator{};
    if (l_LEDs != nullptr && l_LED != l_LEDs->end()) {
        for (const auto& l_Color : LED_COLORS)
            l_LED->second->*l_Color.m_Flag = (l_Colors & l_Color.m_Mask) != 0;
    } else {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps ERROR Didn't find LED ID %i", m_LEDID);
    }

    ++m_LEDID;
    if (l_LEDs != nullptr && m_LEDID < static_cast<int>(l_LEDs->size())) {
        return SendGetPICMCLEDColorCaps(m_FRUID, m_LEDID);
    }
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LED's for FRUID=%i", m_FRUID);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LEDs now %i", m_LEDID);
    return ContinueWithLEDsOf(m_FRUID + 1);
}

// Goes on with the next FRU, from `a_FRUID` on, that has LEDs or was not asked yet. After the last one the FRU reading
// begins.
int ENTITYCAPTURE::ContinueWithLEDsOf(int a_FRUID) {
    for (int l_FRUID = a_FRUID; l_FRUID <= m_MaxFRUID; ++l_FRUID) {
        const IPMI_ENTITY* l_Entity = FindEntity(l_FRUID);
        const int l_Size = l_Entity != nullptr ? static_cast<int>(l_Entity->m_LEDMap.size()) : 0;
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Testing FRUID=%i LEDSize=%i", l_FRUID, l_Size);
        if (l_Entity == nullptr) continue;
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Still more FRUIDs left");
        return l_Size > 0 ? BeginColorCaps(l_FRUID) : SendGetPICMCLEDProps(l_FRUID);
    }
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps No more FRU's with LEDs");
    return SendGetFRUSize(0);
}

} // namespace BM_ADAPTOR
