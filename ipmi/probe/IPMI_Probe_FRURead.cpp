// The inventory's FRU steps: each FRU's area size, its bytes in chunks of 16, and the record parsed from them.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/probe/IPMI_Probe_Request.h"

#include <OpenIPMI/ipmi_msgbits.h>

#include <array>

namespace BM_ADAPTOR {

namespace {

constexpr int CHUNK_SIZE = 16;

// Parses into a record that may hold the multirecords of an earlier parse. They are replaced, or stay when the parse
// fails.
int ParseAgain(FRURAWDATA& a_Raw, IPMI_FRU& a_FRU) {
    std::vector<MULTIRECORD*> l_Earlier;
    l_Earlier.swap(a_FRU.m_MultiRecords);
    const int l_Result = ParseFRUData(a_Raw.m_Data, &a_FRU);
    if (l_Result != FRU_PARSE_OK) l_Earlier.swap(a_FRU.m_MultiRecords);
    for (MULTIRECORD* l_Record : l_Earlier)
        delete l_Record;
    return l_Result;
}

template <typename VALUE>
VALUE* Find(const std::map<unsigned char, VALUE*>& a_Map, int a_FRUID) {
    const auto l_Found = a_Map.find(static_cast<unsigned char>(a_FRUID));
    return l_Found != a_Map.end() ? l_Found->second : nullptr;
}

constexpr PROBE_REQUEST GET_FRU_SIZE = {
    IPMI_STORAGE_NETFN, IPMI_GET_FRU_INVENTORY_AREA_INFO_CMD, ENTITYCAPTURE::s_ReceivedFRUSize,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetFRUSize - rc=%i", a_Result); }};

constexpr PROBE_REQUEST GET_FRU_CHUNK = {
    IPMI_STORAGE_NETFN, IPMI_READ_FRU_DATA_CMD, ENTITYCAPTURE::s_ReceivedFRUChunk,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetFRUChunk - rc=%i", a_Result); }};

} // namespace

int ENTITYCAPTURE::SendGetFRUSize(int a_FRUID) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetFRUSize FRUID=%d", a_FRUID);
    if (a_FRUID > m_MaxFRUID) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetFRUSize FRUID=%d greater than max - stopping collection", a_FRUID);
        StopCollection();
        return 0;
    }
    const std::array<unsigned char, 1> l_Data = {static_cast<unsigned char>(a_FRUID)};
    m_FRUID = a_FRUID;
    m_State = PROBE_FRU_SIZE;
    return Ask(GET_FRU_SIZE, l_Data);
}

int ENTITYCAPTURE::ReceivedFRUSize(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_FRU_SIZE, "ENTITYCAPTURE :: ReceivedFRUSize -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUSize FRUID=%d", m_FRUID);
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUSize CC=0x%x", l_Reply.CompletionCode());
    if (!l_Reply.IsGood(3)) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUSize CC=0x%x - assuming bad FRUID", l_Reply.CompletionCode());
        return SendGetFRUSize(m_FRUID + 1);
    }
    const int l_Size = l_Reply.Word(1);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUSize - size=%i", l_Size);
    if (l_Size == 0) return SendGetFRUSize(m_FRUID + 1);

    const auto l_Key = static_cast<unsigned char>(m_FRUID);
    const IPMI_ENTITY* l_Entity = FindEntity(m_FRUID);
    if (l_Entity != nullptr && m_FRUs.count(l_Key) == 0) { // a FRU that is read again keeps its record
        m_FRUs[l_Key] = new IPMI_FRU(l_Entity->Address(), FormatText("FRU %i", m_FRUID));
    }
    FRURAWDATA*& l_Raw = m_FRURawData[l_Key];
    delete l_Raw;
    l_Raw = nullptr;
    l_Raw = new FRURAWDATA(l_Size);
    return SendGetFRUChunk(m_FRUID, 0);
}

int ENTITYCAPTURE::SendGetFRUChunk(int a_FRUID, int a_Offset) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetFRUChunk FRUID=%d offset=%d", a_FRUID, a_Offset);
    m_FRUID = a_FRUID;
    m_ReadFRUOffset = static_cast<uint16_t>(a_Offset);
    const std::array<unsigned char, 4> l_Data = {static_cast<unsigned char>(a_FRUID),
                                                 static_cast<unsigned char>(m_ReadFRUOffset & 0xFF),
                                                 static_cast<unsigned char>(m_ReadFRUOffset >> 8), CHUNK_SIZE};
    m_State = PROBE_FRU_CHUNK;
    return Ask(GET_FRU_CHUNK, l_Data, m_ReadFRUOffset);
}

int ENTITYCAPTURE::ReceivedFRUChunk(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_FRU_CHUNK, "ENTITYCAPTURE :: ReceivedFRUChunk in wrong state")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk FRUID=%d", m_FRUID);
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk CC=0x%x", l_Reply.CompletionCode());
    const auto l_Received = static_cast<int>(reinterpret_cast<intptr_t>(a_Item.data2));
    if (l_Received != m_ReadFRUOffset) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk - mismatch offsets Rcvd=%i Sent=%i", l_Received,
                 m_ReadFRUOffset);
    }
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk - offsets Rcvd=%i", l_Received);

    FRURAWDATA* l_Raw = Find(m_FRURawData, m_FRUID);
    if (l_Raw == nullptr) {
        // A retry has led to FRU 0, which gave no size. Without this end it would go on for ever.
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk Internal error -- no raw data pointer");
        StopCollection();
        return -1;
    }
    if (!l_Reply.IsGood(2)) {
        if (m_ReadFRUOffset == 0) return SendGetFRUSize(m_FRUID + 1);
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk - Error Receiving data CC %i", l_Reply.CompletionCode());
        return SendGetFRUChunk(0, m_ReadFRUOffset); // FRU 0 on purpose, whichever FRU was being read
    }
    const auto l_Bytes = l_Reply.From(2);
    l_Raw->Write(m_ReadFRUOffset, l_Bytes.first(std::min<std::size_t>(l_Reply[1], l_Bytes.size())));

    // Exactly equal: an area whose size is not a multiple of the chunk's is read on until the controller refuses.
    if (m_ReadFRUOffset + CHUNK_SIZE == l_Raw->m_Size) return CompleteFRU(*l_Raw);
    return SendGetFRUChunk(m_FRUID, m_ReadFRUOffset + CHUNK_SIZE);
}

int ENTITYCAPTURE::CompleteFRU(FRURAWDATA& a_Raw) {
    IPMI_ENTITY* l_Entity = FindEntity(m_FRUID);
    if (l_Entity == nullptr) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk - ERROR ENTITY not found in map");
        return -1;
    }
    IPMI_FRU* l_FRU = Find(m_FRUs, m_FRUID);
    if (l_FRU == nullptr) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk - ERROR FRU not found in map");
        return -1;
    }
    const int l_Result = ParseAgain(a_Raw, *l_FRU);
    if (l_Result != FRU_PARSE_OK) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedFRUChunk - Parse of FRU data unsuccessful rc=%i", l_Result);
    } else {
        l_Entity->m_FRUMap[l_FRU->m_Name] = l_FRU;
        LogTrace(
            g_Logger2,
            "ENTITYCAPTURE :: ReceivedFRUChunk - Parse of FRU data SUCCESS entity=0x%p Devid=%i l_FRU=0x%p name=%s "
            "entity fru size=%i",
            static_cast<void*>(l_Entity), m_FRUID, static_cast<void*>(l_FRU), l_FRU->m_Name.c_str(),
            static_cast<int>(l_Entity->m_FRUMap.size()));
    }
    return SendGetFRUSize(m_FRUID + 1);
}

} // namespace BM_ADAPTOR
