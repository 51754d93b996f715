// The SDR walk: reads the repository's records in pieces. Kept complete, though no step of the inventory starts it.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread.h"
#include "ipmi/probe/IPMI_Probe_Request.h"

#include <OpenIPMI/ipmi_msgbits.h>

#include <algorithm>
#include <array>

namespace BM_ADAPTOR {

namespace {

constexpr int SDR_READ_LIMIT = 16; // bytes a request; every interface carries as much in one message
constexpr uint16_t SDR_LAST_RECORD = 0xFFFF;
constexpr int SDR_REPLY_DATA = 3;       // after completion code and next record id
constexpr int SDR_MAX_RECORDS = 0xFFFF; // a walk that meets more goes in circles

constexpr PROBE_REQUEST RESERVE_SDR_REPOSITORY = {
    IPMI_STORAGE_NETFN, IPMI_RESERVE_SDR_REPOSITORY_CMD, ENTITYCAPTURE::s_ReceivedReserveSDRRepository,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendReserveSDRRepository - rc=%i", a_Result); }};

constexpr PROBE_REQUEST GET_SDR_DATA = {
    IPMI_STORAGE_NETFN, IPMI_GET_SDR_CMD, ENTITYCAPTURE::s_ReceivedSDRData,
    [](int a_Result) { LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetSDRData - rc=%i", a_Result); }};

} // namespace

int ENTITYCAPTURE::SendReserveSDRRepository() {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendReserveSDRRepository");
    m_State = PROBE_RESERVE_SDR;
    return Ask(RESERVE_SDR_REPOSITORY, {});
}

int ENTITYCAPTURE::ReceivedReserveSDRRepository(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_RESERVE_SDR, "ENTITYCAPTURE :: ReceivedReserveSDRRepository -- incorrect State\n")) return -1;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedReserveSDRRepository");
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedReserveSDRRepository CC=0x%x", l_Reply.CompletionCode());
    if (!l_Reply.IsGood(3)) return EndSDRWalk();
    m_SDRReservationID = l_Reply.Word(1);
    return GetFRUSDRs();
}

int ENTITYCAPTURE::GetFRUSDRs() {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: GetFRUSDRs");
    m_SDRRecordID = 0;
    m_SDRsInWalk = 0;
    m_State = PROBE_FIRST_SDR;
    return SendGetSDRData(m_SDRRecordID, 0, SDR::HEADER_SIZE);
}

// The caller sets the request code: the first chunk of a walk has another one than those that follow.
int ENTITYCAPTURE::SendGetSDRData(int a_RecordID, int a_Offset, int a_Length) {
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetSDRData - RecordID= %d offset=%d len=%d", a_RecordID, a_Offset,
             a_Length);
    const auto l_RecordID = static_cast<uint16_t>(a_RecordID);
    if (a_Offset == 0 || l_RecordID != m_SDRRecordID) m_SDRHeaderID.reset(); // another record begins
    m_SDRRecordID = l_RecordID;
    m_SDROffset = a_Offset;
    const std::array<unsigned char, 6> l_Data = {static_cast<unsigned char>(m_SDRReservationID & 0xFF),
                                                 static_cast<unsigned char>(m_SDRReservationID >> 8),
                                                 static_cast<unsigned char>(m_SDRRecordID & 0xFF),
                                                 static_cast<unsigned char>(m_SDRRecordID >> 8),
                                                 static_cast<unsigned char>(a_Offset),
                                                 static_cast<unsigned char>(a_Length)};
    return Ask(GET_SDR_DATA, l_Data);
}

int ENTITYCAPTURE::ReceivedSDRData(const ipmi_msgi_t& a_Item) {
    if (m_State != PROBE_FIRST_SDR && !InState(PROBE_MORE_SDR, "ENTITYCAPTURE :: ReceivedSDRData in wrong state")) {
        return -1;
    }
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData");
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData CC=0x%x", l_Reply.CompletionCode());
    const auto l_Data = l_Reply.From(SDR_REPLY_DATA);
    // A reply without data ends the walk, and so does a piece of a record that was never begun.
    SDR* l_Record = l_Reply.IsGood(SDR_REPLY_DATA + 1) ? SDRFor(l_Data) : nullptr;
    if (l_Record == nullptr) return EndSDRWalk();
    AppendSDRData(*l_Record, l_Data);

    const int l_Missing = l_Record->m_Length - l_Record->m_Received;
    if (l_Missing > 0) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData Calc more data NFS=%i", l_Missing);
        const int l_Next = std::min(l_Missing, SDR_READ_LIMIT);
        if (l_Next < l_Missing) {
            LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData Calc more data - IPMI Limit NFS=%i", l_Next);
        }
        m_State = PROBE_MORE_SDR;
        return SendGetSDRData(m_SDRRecordID, l_Record->m_Received, l_Next);
    }
    const uint16_t l_NextRecordID = l_Reply.Word(1);
    if (l_NextRecordID == SDR_LAST_RECORD || ++m_SDRsInWalk >= SDR_MAX_RECORDS) return EndSDRWalk();
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData Switching to Record %d", l_NextRecordID);
    m_State = PROBE_MORE_SDR;
    return SendGetSDRData(l_NextRecordID, 0, SDR::HEADER_SIZE);
}

// The record that the reply belongs to. At offset 0 the reply begins with the header, which has the record's own id: an
// unknown record is made, a known one begins anew. Null when the header is not whole, and for a later piece of a record
// that was never begun.
SDR* ENTITYCAPTURE::SDRFor(std::span<const unsigned char> a_Data) {
    if (m_SDROffset != 0) {
        const auto l_Begun = m_SDRHeaderID ? g_SDRMAP.find(*m_SDRHeaderID) : g_SDRMAP.end();
        return l_Begun != g_SDRMAP.end() ? l_Begun->second : nullptr;
    }
    if (a_Data.size() < SDR::HEADER_SIZE) return nullptr;
    const auto l_RecordID = static_cast<uint16_t>(a_Data[0] | a_Data[1] << 8);
    m_SDRHeaderID = l_RecordID;
    SDR*& l_Record = g_SDRMAP[l_RecordID];
    if (l_Record != nullptr) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData existing Recordid=%i", l_RecordID);
    } else {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData New Record! Recordid=%i SDRVer=0x%x type=0x%x len=%d",
                 l_RecordID, a_Data[2], a_Data[3], a_Data[4]);
        l_Record = new SDR(l_RecordID);
    }
    l_Record->m_SDRVersion = a_Data[2];
    l_Record->m_RecordType = a_Data[3];
    l_Record->m_Length = SDR::HEADER_SIZE + a_Data[4];
    l_Record->m_Received = 0;
    l_Record->m_Data = std::make_unique<unsigned char[]>(static_cast<std::size_t>(l_Record->m_Length));
    return l_Record;
}

// Bytes past the record's length are reported and dropped.
void ENTITYCAPTURE::AppendSDRData(SDR& a_Record, std::span<const unsigned char> a_Data) {
    const int l_Length = static_cast<int>(a_Data.size());
    const int l_Fits = std::min(l_Length, a_Record.m_Length - a_Record.m_Received);
    unsigned char* l_Target = a_Record.m_Data.get() + a_Record.m_Received;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSDRData Writing SDRdata=0x%p WP=0x%p len=%d",
             static_cast<void*>(a_Record.m_Data.get()), static_cast<void*>(l_Target), l_Length);
    std::copy_n(a_Data.begin(), l_Fits, l_Target);
    const int l_Total = a_Record.m_Received + l_Length;
    a_Record.m_Received += l_Fits;
    LogTrace(g_Logger2, "%sENTITYCAPTURE :: ReceivedSDRData lod=%i TotalSoFar=%i SDRLen=%i",
             l_Total > a_Record.m_Length ? "ERROR - " : "", l_Length, l_Total, a_Record.m_Length);
}

int ENTITYCAPTURE::EndSDRWalk() {
    m_State = PROBE_IDLE;
    if (m_Thread != nullptr) m_Thread->EntityCaptured();
    return 0;
}

} // namespace BM_ADAPTOR
