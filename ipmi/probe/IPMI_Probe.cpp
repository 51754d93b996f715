// The probe's engine: one request out, its reply routed to the handler that the request's code names.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_lock.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/model/IPMI_Callback.h"
#include "ipmi/probe/IPMI_Probe_Request.h"

#include <OpenIPMI/ipmi_addr.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

FRURAWDATA::FRURAWDATA(int a_Size)
    : m_Size(std::clamp(a_Size, 0, 0xFFFF)),
      m_Data(new unsigned char[static_cast<std::size_t>(m_Size) + BM_ADAPTOR::FRU_PARSE_SLACK]) {
    std::memset(m_Data, 0xFF, static_cast<std::size_t>(m_Size) + BM_ADAPTOR::FRU_PARSE_SLACK);
}

FRURAWDATA::~FRURAWDATA() {
    delete[] m_Data;
    m_Data = nullptr;
    m_Size = 0;
}

int FRURAWDATA::Write(int a_Offset, std::span<const unsigned char> a_Bytes) {
    if (a_Offset < 0 || a_Offset >= m_Size) return 0;
    const auto l_Count = std::min(a_Bytes.size(), static_cast<std::size_t>(m_Size - a_Offset));
    std::copy_n(a_Bytes.begin(), l_Count, m_Data + a_Offset);
    return static_cast<int>(l_Count);
}

int FRUADDRESSINFO::CopyFromData(const unsigned char* a_Data) {
    static_assert(sizeof(FRUADDRESSINFO) == 8, "the reply's bytes are copied as they are");
    std::memcpy(this, a_Data, sizeof(*this));
    return 0;
}

namespace BM_ADAPTOR {

uint16_t PROBE_REPLY::Word(std::size_t a_Index) const {
    return static_cast<uint16_t>((*this)[a_Index] | (*this)[a_Index + 1] << 8);
}

std::span<const unsigned char> PROBE_REPLY::From(std::size_t a_Index) const {
    return m_Bytes.subspan(std::min(a_Index, m_Bytes.size()));
}

ENTITYCAPTURE::ENTITYCAPTURE(ipmi_domain_t* a_Domain, IPMITHREAD* a_Thread, CBaseOsLog* a_Log)
    : m_Thread(a_Thread),
      m_Domain(a_Domain) {
    g_Logger2 = a_Log;
}

ENTITYCAPTURE::~ENTITYCAPTURE() {
    for (auto& [l_FRUID, l_FRU] : m_FRUs) {
        const IPMI_ENTITY* l_Entity = FindEntity(l_FRUID);
        if (l_Entity == nullptr || l_Entity->m_FRUMap.count(l_FRU->m_Name) == 0) delete l_FRU;
    }
    if (!m_bHandedOver) {
        for (auto& [l_FRUID, l_Entity] : m_FRUEntities)
            delete l_Entity;
    }
    for (auto& [l_FRUID, l_Raw] : m_FRURawData)
        delete l_Raw;
    for (auto& [l_FRUID, l_Info] : m_FRUAddressInfo)
        delete l_Info;
}

// Sends to the local controller over the system interface. What OpenIPMI answers is for the caller's trace only.
int ENTITYCAPTURE::Send(unsigned char a_NetFn, unsigned char a_Command, std::span<const unsigned char> a_Data,
                        ipmi_addr_response_handler_t a_Trampoline, intptr_t a_SecondDatum) {
    static_assert(sizeof(ipmi_system_interface_addr_t) == 8);
    ipmi_system_interface_addr_t l_Address{};
    l_Address.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    l_Address.channel = IPMI_BMC_CHANNEL;
    l_Address.lun = 0;

    std::array<unsigned char, 255> l_Data{}; // OpenIPMI takes a pointer to bytes that are not const
    const auto l_Length = std::min(a_Data.size(), l_Data.size());
    std::copy_n(a_Data.begin(), l_Length, l_Data.begin());
    ipmi_msg_t l_Message{};
    l_Message.netfn = a_NetFn;
    l_Message.cmd = a_Command;
    l_Message.data = l_Data.data();
    l_Message.data_len = static_cast<unsigned short>(l_Length);

    return ipmi_send_command_addr(m_Domain, reinterpret_cast<ipmi_addr_t*>(&l_Address), sizeof(l_Address), &l_Message,
                                  a_Trampoline, this, reinterpret_cast<void*>(a_SecondDatum));
}

// Each sender's last step. Always 0: a request that is not sent is a request without a reply.
int ENTITYCAPTURE::Ask(const PROBE_REQUEST& a_Request, std::span<const unsigned char> a_Data, intptr_t a_SecondDatum) {
    a_Request.m_TraceResult(Send(a_Request.m_NetFn, a_Request.m_Command, a_Data, a_Request.m_Received, a_SecondDatum));
    return 0;
}

// Each handler's first step. A reply that nobody waits for leaves only its trampoline's line and this one.
bool ENTITYCAPTURE::InState(int a_State, const char* a_WrongState) const {
    if (m_State == a_State) return true;
    LogTrace(g_Logger2, "%s", a_WrongState);
    return false;
}

// OpenIPMI's user datum is the object. A reply to a superseded probe is dropped: nobody waits for it.
int ENTITYCAPTURE::Deliver(ipmi_msgi_t* a_Item, const char* a_Name, RECEIVER a_Receiver) {
    EnterCallback<ENTITYCAPTURE>(a_Item != nullptr ? a_Item->data1 : nullptr, a_Name, [&](ENTITYCAPTURE& a_Self) {
        if (!a_Self.m_bSuperseded) (a_Self.*a_Receiver)(*a_Item);
    });
    return IPMI_MSG_ITEM_NOT_USED;
}

int ENTITYCAPTURE::s_ReceivedPICMCProperties(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedPICMCProperties", &ENTITYCAPTURE::ReceivedPICMCProperties);
}

int ENTITYCAPTURE::s_ReceivedPICMCAddrInfo(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedPICMCAddrInfo", &ENTITYCAPTURE::ReceivedPICMCAddrInfo);
}

int ENTITYCAPTURE::s_ReceivedDeviceID(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedDeviceID", &ENTITYCAPTURE::ReceivedDeviceID);
}

int ENTITYCAPTURE::s_ReceivedPICMCLEDProps(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedPICMCLEDProps", &ENTITYCAPTURE::ReceivedPICMCLEDProps);
}

int ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedPICMCLEDColorCaps", &ENTITYCAPTURE::ReceivedPICMCLEDColorCaps);
}

int ENTITYCAPTURE::s_ReceivedFRUSize(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedFRUSize", &ENTITYCAPTURE::ReceivedFRUSize);
}

int ENTITYCAPTURE::s_ReceivedFRUChunk(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedFRUChunk", &ENTITYCAPTURE::ReceivedFRUChunk);
}

int ENTITYCAPTURE::s_ReceivedReserveSDRRepository(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedReserveSDRRepository",
                   &ENTITYCAPTURE::ReceivedReserveSDRRepository);
}

int ENTITYCAPTURE::s_ReceivedSDRData(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedSDRData", &ENTITYCAPTURE::ReceivedSDRData);
}

int ENTITYCAPTURE::s_ReceivedSendMessage(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedSendMessage", &ENTITYCAPTURE::ReceivedSendMessage);
}

int ENTITYCAPTURE::s_ReceivedGetPICMCLEDState(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedGetPICMCLEDState", &ENTITYCAPTURE::ReceivedGetPICMCLEDState);
}

int ENTITYCAPTURE::s_ReceivedSetPICMCLEDState(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedSetPICMCLEDState", &ENTITYCAPTURE::ReceivedSetPICMCLEDState);
}

int ENTITYCAPTURE::s_ReceivedFRUControl(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
    return Deliver(a_Item, "ENTITYCAPTURE :: s_ReceivedFRUControl", &ENTITYCAPTURE::ReceivedFRUControl);
}

unsigned char ipmb_checksum(const unsigned char* a_Data, int a_Length) {
    if (a_Length <= 0) return 0;
    return static_cast<unsigned char>(-std::accumulate(a_Data, a_Data + a_Length, 0));
}

unsigned char ConvertAMCSiteNumberToIPMLAddress(unsigned char a_Site) {
    if (a_Site < AMC_BAY_FIRST || a_Site > AMC_BAY_LAST) return 0;
    return static_cast<unsigned char>(0x70 + 2 * a_Site); // 0x72, 0x74 ... 0x80
}

} // namespace BM_ADAPTOR
