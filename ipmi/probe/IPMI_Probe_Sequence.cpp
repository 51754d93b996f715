// The inventory's first and last steps: properties, address information and device id; the hand-over to the model.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_lock.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread.h"
#include "ipmi/probe/IPMI_Probe_Request.h"

#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <array>
#include <cassert>
#include <memory>

namespace BM_ADAPTOR {

namespace {

constexpr PROBE_REQUEST GET_PICMG_PROPERTIES = {
    IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_GET_PROPERTIES, ENTITYCAPTURE::s_ReceivedPICMCProperties,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCProperties - rc=%i", a_Result); }};

constexpr PROBE_REQUEST GET_ADDRESS_INFO = {
    IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_GET_ADDRESS_INFO, ENTITYCAPTURE::s_ReceivedPICMCAddrInfo,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCAddrInfo - rc=%i", a_Result); }};

constexpr PROBE_REQUEST GET_DEVICE_ID = {
    IPMI_APP_NETFN, IPMI_GET_DEVICE_ID_CMD, ENTITYCAPTURE::s_ReceivedDeviceID,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetDeviceID - rc=%i", a_Result); }};

} // namespace

void ENTITYCAPTURE::StartCapture() {
    if (m_bHandedOver) { // a second inventory would free entities that host threads read
        LogError(g_Logger2, "ENTITYCAPTURE :: StartCapture - the model has the entities");
        assert(false && "the model has the entities");
        return;
    }
    SendGetPICMCProperties();
}

int ENTITYCAPTURE::SendGetPICMCProperties() {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCProperties");
    const std::array<unsigned char, 1> l_Data = {IPMI_PICMG_GRP_EXT};
    m_State = PROBE_PICMG_PROPERTIES;
    return Ask(GET_PICMG_PROPERTIES, l_Data);
}

int ENTITYCAPTURE::ReceivedPICMCProperties(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_PICMG_PROPERTIES, "ENTITYCAPTURE :: ReceivedPICMCProperties -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCProperties");
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCProperties CC=0x%x", l_Reply.CompletionCode());
    if (!l_Reply.IsGood(4)) {
        StopCollection(); // such a controller answers nothing else; the adaptor must not wait for it
        return -1;
    }
    m_MaxFRUID = l_Reply[3];
    AddEntity(0, ENTITY_ID_BASEBOARD, ENTITY_INSTANCE_FIRST);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCProperties adding entity %i address=0x%p", 0,
             static_cast<void*>(FindEntity(0)));
    for (int l_FRUID = 1; l_FRUID <= m_MaxFRUID; ++l_FRUID) {
        AddEntity(l_FRUID, ENTITY_ID_NOT_SET, l_FRUID);
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCProperties adding AMC/RTM entity %i address=0x%p", l_FRUID,
                 static_cast<void*>(FindEntity(l_FRUID)));
    }
    return SendGetPICMCAddrInfo(0);
}

// An entity that is already there under this FRU id is replaced.
void ENTITYCAPTURE::AddEntity(int a_FRUID, int a_EntityID, int a_Instance) {
    auto l_New = std::make_unique<IPMI_ENTITY>(0, LOCAL_IPMB_ADDRESS, a_EntityID, a_Instance);
    l_New->m_FRUDeviceID = a_FRUID;
    const OSAL_LOCK l_Maps(m_MapMutex);
    IPMI_ENTITY*& l_Entity = m_FRUEntities[static_cast<unsigned char>(a_FRUID)];
    delete l_Entity;
    l_Entity = l_New.release();
}

IPMI_ENTITY* ENTITYCAPTURE::FindEntity(int a_FRUID) {
    const OSAL_LOCK l_Maps(m_MapMutex);
    const auto l_Found = m_FRUEntities.find(static_cast<unsigned char>(a_FRUID));
    return l_Found != m_FRUEntities.end() ? l_Found->second : nullptr;
}

int ENTITYCAPTURE::SendGetPICMCAddrInfo(int a_FRUID) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCAddrInfo FRUID=%d", a_FRUID);
    const std::array<unsigned char, 2> l_Data = {IPMI_PICMG_GRP_EXT, static_cast<unsigned char>(a_FRUID)};
    m_State = PROBE_ADDRESS_INFO;
    return Ask(GET_ADDRESS_INFO, l_Data);
}

// -1 on the usual path too: only the last FRU's reply ends the step with 0.
int ENTITYCAPTURE::ReceivedPICMCAddrInfo(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_ADDRESS_INFO, "ENTITYCAPTURE :: ReceivedPICMCAddrInfo -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCAddrInfo");
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCAddrInfo CC=0x%x", l_Reply.CompletionCode());
    if (!l_Reply.IsGood(sizeof(FRUADDRESSINFO))) {
        StopCollection();
        return -1;
    }
    auto l_Info = std::make_unique<FRUADDRESSINFO>();
    l_Info->CopyFromData(l_Reply.From(0).data());
    LogTrace(g_Logger2,
             "ENTITYCAPTURE :: ReceivedPICMCAddrInfo HWADDR=0x%x IPMB0=0x%x FRUID=0x%x SiteID=0x%x SiteType=0x%x",
             l_Info->m_HardwareAddress, l_Info->m_IPMB0Address, l_Info->m_FRUID, l_Info->m_SiteID, l_Info->m_SiteType);
    const int l_FRUID = l_Info->m_FRUID;
    NoteAddressInfo(std::move(l_Info));
    if (l_FRUID < m_MaxFRUID) {
        SendGetPICMCAddrInfo(l_FRUID + 1); // follows the reply's FRU id, not a cursor
        return -1;
    }
    TraceAMCSearch();
    return SendGetDeviceID();
}

void ENTITYCAPTURE::NoteAddressInfo(std::unique_ptr<FRUADDRESSINFO> a_Info) {
    const int l_FRUID = a_Info->m_FRUID;
    IPMI_ENTITY* l_Entity = FindEntity(l_FRUID);
    if (l_Entity == nullptr) {
        AddEntity(l_FRUID, ENTITY_ID_NOT_SET, l_FRUID);
        l_Entity = FindEntity(l_FRUID);
    }
    l_Entity->m_BayLocation = a_Info->m_SiteID;
    l_Entity->m_IPMB0Address = a_Info->m_IPMB0Address;
    switch (a_Info->m_SiteType) {
    case PICMG_SITE_FRONT_BOARD:
        l_Entity->m_EntityID = ENTITY_ID_BASEBOARD;
        break;
    case PICMG_SITE_AMC:
        l_Entity->m_EntityID = ENTITY_ID_AMC;
        l_Entity->m_SiteValue = l_Entity->m_BayLocation;
        break;
    case PICMG_SITE_RTM:
        l_Entity->m_EntityID = ENTITY_ID_RTM;
        l_Entity->m_BayLocation = RTM_BAY;
        l_Entity->m_SiteValue = RTM_BAY;
        break;
    default:
        l_Entity->m_EntityID = ENTITY_ID_NONE;
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCAddrInfo incorrect site type of %i", a_Info->m_SiteType);
        break;
    }
    FRUADDRESSINFO*& l_Kept = m_FRUAddressInfo[static_cast<unsigned char>(l_FRUID)];
    delete l_Kept;
    l_Kept = a_Info.release();
}

// Traces every entity. One that no reply has placed has site type 0. The site is the entity's own: 9 for an RTM.
void ENTITYCAPTURE::TraceAMCSearch() const {
    for (const auto& [l_FRUID, l_Entity] : m_FRUEntities) {
        const auto l_Info = m_FRUAddressInfo.find(l_FRUID);
        const unsigned l_SiteType = l_Info != m_FRUAddressInfo.end() ? l_Info->second->m_SiteType : 0U;
        const auto l_SiteID = static_cast<unsigned>(l_Entity->m_BayLocation);
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x%x siteID=0x%x",
                 l_SiteType, l_SiteID);
        if (l_SiteType != PICMG_SITE_AMC) continue;
        LogTrace(g_Logger2,
                 "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=AMC Found 0x%x siteID=0x%x",
                 l_SiteType, l_SiteID);
    }
}

int ENTITYCAPTURE::SendGetDeviceID() {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetDeviceID");
    m_State = PROBE_DEVICE_ID;
    return Ask(GET_DEVICE_ID, {});
}

int ENTITYCAPTURE::ReceivedDeviceID(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_DEVICE_ID, "ENTITYCAPTURE :: ReceivedDeviceID -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedDeviceID");
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedDeviceID CC=0x%x", l_Reply.CompletionCode());
    IPMI_ENTITY* l_Entity = FindEntity(0);
    if (l_Reply.IsGood(5) && l_Entity != nullptr) {
        auto l_MC = std::make_unique<IPMI_MC>();
        l_MC->m_Name = FormatText("0x%x", LOCAL_IPMB_ADDRESS);
        l_MC->m_MajorFWRevision = l_Reply[3] & 0x7F;
        l_MC->m_MinorFWRevision = l_Reply[4];
        if (l_Reply.HasBytes(16)) {
            l_MC->m_AuxFWRevision = FormatText("%u %u %u %u", l_Reply[12], l_Reply[13], l_Reply[14], l_Reply[15]);
        }
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedDeviceID -- Adding MC to entity\n");
        IPMI_MC*& l_Kept = l_Entity->m_MCMap[l_MC->m_Name];
        delete l_Kept;
        l_Kept = l_MC.release();
    }
    return SendGetPICMCLEDProps(0);
}

// Of two FRUs that claim one address (FRU 0 and a FRU 96 on a site of its type) the model shows the later one. The
// record of the other one stays with the probe, which goes on setting its LEDs.
void ENTITYCAPTURE::EnterIntoModel(IPMI_ENTITY& a_Entity) {
    const MODEL_WRITER l_Model(g_EntityMapLock);
    IPMI_ENTITY*& l_Shown = g_EntityMap[a_Entity.Address()];
    if (l_Shown != nullptr) m_DisplacedEntities.emplace_back(l_Shown);
    l_Shown = &a_Entity;
}

void ENTITYCAPTURE::StopCollection() {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: StopCollection - adding stuff!!!");
    m_State = PROBE_IDLE;
    if (m_bSuperseded) return;
    for (const auto& [l_FRUID, l_Entity] : m_FRUEntities) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: StopCollection adding FRU ID %i pointer=0x%p", l_FRUID,
                 static_cast<void*>(l_Entity));
        LogTrace(g_Logger2, "ENTITYCAPTURE :: StopCollection adding FRU ID %i ID=%i", l_FRUID, l_Entity->m_EntityID);
        if (!m_bHandedOver) EnterIntoModel(*l_Entity);
    }
    m_bHandedOver = true;
    if (m_Thread != nullptr) m_Thread->EntityCaptured();
}

} // namespace BM_ADAPTOR
