// The probe: the adaptor's own raw IPMI and PICMG client, next to OpenIPMI's managed domain. Takes the inventory at
// start-up and serves LED commands and FRU Control afterwards; one request is outstanding at a time.
#pragma once

#include "ipmi/model/IPMI_Model.h"

#include "bm/OSAL.h"

#include <OpenIPMI/ipmiif.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

class CBaseOsLog;
struct IPMI_TEST_ACCESS;

/// One FRU's raw inventory bytes while they are read. Slack, all 0xFF, follows the `m_Size` bytes, so that a parser
/// that trusts offsets and lengths in the data stays inside the buffer.
class FRURAWDATA {
public:
    explicit FRURAWDATA(int a_Size);
    FRURAWDATA(const FRURAWDATA&) = delete;
    FRURAWDATA& operator=(const FRURAWDATA&) = delete;
    virtual ~FRURAWDATA();

    /// Copies what fits between `a_Offset` and the size; returns the number of bytes copied.
    int Write(int a_Offset, std::span<const unsigned char> a_Bytes);

    int32_t m_Size; ///< bytes, 0 to 65535
    unsigned char* m_Data;
};

/// A Get Address Info reply (PICMG 3.0, Get Address Info, response data), byte by byte.
struct FRUADDRESSINFO {
    uint8_t m_CompletionCode = 0;
    uint8_t m_PICMGIdentifier = 0;
    uint8_t m_HardwareAddress = 0;
    uint8_t m_IPMB0Address = 0;
    uint8_t m_Reserved = 0;
    uint8_t m_FRUID = 0;
    uint8_t m_SiteID = 0;
    uint8_t m_SiteType = 0; ///< PICMG_SITE_TYPE_e

    /// Copies the 8 bytes at `a_Data`. Always 0.
    int CopyFromData(const unsigned char* a_Data);
};

/// Site types of Get Address Info that the probe knows.
enum PICMG_SITE_TYPE_e : uint8_t { PICMG_SITE_FRONT_BOARD = 0, PICMG_SITE_AMC = 7, PICMG_SITE_RTM = 9 };

/// One sensor data record, assembled from Get SDR replies.
class SDR {
public:
    static constexpr int HEADER_SIZE = 5;
    static constexpr uint8_t TYPE_NOT_KNOWN = 0xFF;

    SDR() = default;
    explicit SDR(uint16_t a_RecordID) : m_RecordID(a_RecordID) {}

    uint16_t m_RecordID = 0;
    uint8_t m_SDRVersion = 0;
    uint8_t m_RecordType = TYPE_NOT_KNOWN;
    int32_t m_Length = 0;   ///< bytes of the whole record, its 5 header bytes included
    int32_t m_Received = 0; ///< bytes received so far
    std::unique_ptr<unsigned char[]> m_Data;
};

namespace BM_ADAPTOR {

class IPMITHREAD;
struct LED_STATE;
struct PROBE_REQUEST;

/// The local controller's IPMB address.
inline constexpr int LOCAL_IPMB_ADDRESS = 0x20;

/// The request outstanding. The numbers are shown in traces.
enum PROBE_STATE_e : int32_t {
    PROBE_IDLE = 0,
    PROBE_PICMG_PROPERTIES = 1,
    PROBE_ADDRESS_INFO = 2,
    PROBE_DEVICE_ID = 3,
    PROBE_LED_PROPERTIES = 4,
    PROBE_LED_COLOR_CAPS = 5,
    PROBE_FRU_SIZE = 6,
    PROBE_FRU_CHUNK = 7,
    PROBE_RESERVE_SDR = 8,
    PROBE_FIRST_SDR = 9,
    PROBE_MORE_SDR = 10,
    PROBE_SEND_MESSAGE = 11,
    PROBE_GET_LED_STATE = 12,
    PROBE_SET_LED_STATE = 13,
    PROBE_FRU_CONTROL = 14
};

/// The bytes of one reply: completion code first. A byte past the end reads as 0, so ask HasBytes first.
class PROBE_REPLY {
public:
    explicit PROBE_REPLY(const ipmi_msgi_t& a_Item) : m_Bytes(a_Item.msg.data, a_Item.msg.data_len) {}
    explicit PROBE_REPLY(std::span<const unsigned char> a_Bytes) : m_Bytes(a_Bytes) {}

    /// 0xFF (unspecified error) when there is not even a completion code.
    uint8_t CompletionCode() const { return m_Bytes.empty() ? 0xFF : m_Bytes[0]; }
    bool HasBytes(std::size_t a_Count) const { return m_Bytes.size() >= a_Count; }
    /// Good completion code and at least `a_Count` bytes, the completion code among them.
    bool IsGood(std::size_t a_Count) const { return CompletionCode() == 0 && HasBytes(a_Count); }
    uint8_t operator[](std::size_t a_Index) const { return a_Index < m_Bytes.size() ? m_Bytes[a_Index] : 0; }
    /// Two bytes, least significant first.
    uint16_t Word(std::size_t a_Index) const;
    std::span<const unsigned char> From(std::size_t a_Index) const;

private:
    std::span<const unsigned char> m_Bytes;
};

/// The probe. The domain thread makes one for every opened connection while the model is not ready, and never deletes
/// it: a late reply may still reach it. Everything runs on the domain thread, except the two LED commands and
/// SendFRUControl: host threads call those, several at once.
/// Senders return 0 whatever OpenIPMI answered: a request that is not sent is a request without a reply.
class ENTITYCAPTURE {
public:
    /// @param a_Domain  OpenIPMI's domain, through which every request goes
    /// @param a_Thread  told when the probe is over
    /// @param a_Log     becomes the logger of domain thread and probe; null is harmless
    ENTITYCAPTURE(ipmi_domain_t* a_Domain, IPMITHREAD* a_Thread, CBaseOsLog* a_Log);
    ENTITYCAPTURE(const ENTITYCAPTURE&) = delete;
    ENTITYCAPTURE& operator=(const ENTITYCAPTURE&) = delete;
    ~ENTITYCAPTURE();

    /// Begins the inventory; each reply sends the next request. Once for each probe: after StopCollection it only logs
    /// an error.
    void StartCapture();
    /// Hands the entities to the model and tells the domain thread. A superseded probe does neither.
    void StopCollection();
    /// A newer probe has taken over: replies to this one are ignored from now on.
    void Supersede() { m_bSuperseded = true; }

    int SendGetPICMCProperties();
    int SendGetPICMCAddrInfo(int a_FRUID);
    int SendGetDeviceID();
    int SendGetPICMCLEDProps(int a_FRUID);
    int SendGetPICMCLEDColorCaps(int a_FRUID, int a_LEDID);
    int SendGetFRUSize(int a_FRUID);
    int SendGetFRUChunk(int a_FRUID, int a_Offset);
    int SendReserveSDRRepository();
    int GetFRUSDRs();
    int SendGetSDRData(int a_RecordID, int a_Offset, int a_Length);
    /// PICMG Set FRU LED State. Blocks until the reply is there, without a time-out. Never call it on the domain
    /// thread, nor before the inventory is over. A reply that never comes keeps this and every later LED command
    /// waiting.
    /// @param a_LEDID  PICMG LED id, below the FRU's number of LEDs
    /// @param a_State  times in milliseconds; its colour comes back as the PICMG code that was sent
    /// @return the completion code (0: the LED is set); -1, and nothing is sent, when the FRU has no such LED, and from
    ///         within a log line of another LED command: its turn is the one lock that is held while the host logs
    int SendSetPICMCLEDState(int a_FRUID, int a_LEDID, LED_STATE* a_State);
    /// PICMG Get FRU LED State; blocks as SendSetPICMCLEDState does.
    /// @param a_State  filled from the reply, times in tens of milliseconds; left alone when the result is not 1
    /// @return 1, 0 when the controller refused or answered too few bytes, -1 as SendSetPICMCLEDState
    int SendGetPICMCLEDState(int a_FRUID, int a_LEDID, LED_STATE* a_State);
    /// PICMG FRU Control; returns without waiting. @param a_Option  PICMG 3.0 FRU Control option, 0 is cold reset
    int SendFRUControl(int a_FRUID, int a_Option);
    /// A trap for diagnostic builds that nothing calls: it ends the process.
    int ComposeMessage(unsigned char a_Address);
    int SendMessage(unsigned char* a_Data, int a_Length);

    // Replies as OpenIPMI delivers them. The static ones end the process when the item carries no object.
    static int s_ReceivedPICMCProperties(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedPICMCAddrInfo(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedDeviceID(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedPICMCLEDProps(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedPICMCLEDColorCaps(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedFRUSize(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedFRUChunk(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedReserveSDRRepository(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedSDRData(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedSendMessage(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedGetPICMCLEDState(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedSetPICMCLEDState(ipmi_domain_t*, ipmi_msgi_t* a_Item);
    static int s_ReceivedFRUControl(ipmi_domain_t*, ipmi_msgi_t* a_Item);

    int ReceivedPICMCProperties(const ipmi_msgi_t& a_Item);
    int ReceivedPICMCAddrInfo(const ipmi_msgi_t& a_Item);
    int ReceivedDeviceID(const ipmi_msgi_t& a_Item);
    int ReceivedPICMCLEDProps(const ipmi_msgi_t& a_Item);
    int ReceivedPICMCLEDColorCaps(const ipmi_msgi_t& a_Item);
    int ReceivedFRUSize(const ipmi_msgi_t& a_Item);
    int ReceivedFRUChunk(const ipmi_msgi_t& a_Item);
    int ReceivedReserveSDRRepository(const ipmi_msgi_t& a_Item);
    int ReceivedSDRData(const ipmi_msgi_t& a_Item);
    int ReceivedSendMessage(const ipmi_msgi_t& a_Item);
    int ReceivedGetPICMCLEDState(const ipmi_msgi_t& a_Item);
    int ReceivedSetPICMCLEDState(const ipmi_msgi_t& a_Item);
    int ReceivedFRUControl(const ipmi_msgi_t& a_Item);

private:
    friend struct ::IPMI_TEST_ACCESS;

    using RECEIVER = int (ENTITYCAPTURE::*)(const ipmi_msgi_t&);
    static int Deliver(ipmi_msgi_t* a_Item, const char* a_Name, RECEIVER a_Receiver);
    int Send(unsigned char a_NetFn, unsigned char a_Command, std::span<const unsigned char> a_Data,
             ipmi_addr_response_handler_t a_Trampoline, intptr_t a_SecondDatum = 0);
    int Ask(const PROBE_REQUEST& a_Request, std::span<const unsigned char> a_Data, intptr_t a_SecondDatum = 0);
    bool InState(int a_State, const char* a_WrongState) const;

    void AddEntity(int a_FRUID, int a_EntityID, int a_Instance);
    IPMI_ENTITY* FindEntity(int a_FRUID);
    void NoteAddressInfo(std::unique_ptr<FRUADDRESSINFO> a_Info);
    void TraceAMCSearch() const;
    void EnterIntoModel(IPMI_ENTITY& a_Entity);
    int NumLEDs(int a_FRUID);
    void EndLEDCommand(int a_Result, OSAL::OSALMutex& a_Signal);
    class LED_TURN;
    class LED_COMMAND;
    bool WouldWaitForItself() const;
    static void AddLEDs(IPMI_ENTITY& a_Entity, int a_Count);
    int BeginColorCaps(int a_FRUID);
    int ContinueWithLEDsOf(int a_FRUID);
    int CompleteFRU(FRURAWDATA& a_Raw);
    SDR* SDRFor(std::span<const unsigned char> a_Data);
    static void AppendSDRData(SDR& a_Record, std::span<const unsigned char> a_Data);
    int EndSDRWalk();

    std::atomic<int32_t> m_State = PROBE_IDLE; ///< PROBE_STATE_e
    IPMITHREAD* m_Thread;
    ipmi_domain_t* m_Domain;
    std::map<unsigned char, FRURAWDATA*> m_FRURawData;
    std::map<unsigned char, FRUADDRESSINFO*> m_FRUAddressInfo;
    std::map<unsigned char, IPMI_ENTITY*> m_FRUEntities;           ///< the model's once handed over by StopCollection
    std::vector<std::unique_ptr<IPMI_ENTITY>> m_DisplacedEntities; ///< whose place in the model another one took
    std::map<unsigned char, IPMI_FRU*> m_FRUs;                     ///< an entity's once attached to it
    uint16_t m_ReadFRUOffset = 0;                                  ///< of the last Read FRU Data request
    // Cursors; wider than a FRU id's 8 bits, because 255 is a FRU id and the walk has to get past it.
    int m_FRUID = 0;
    int m_LEDID = 0;
    int m_MaxFRUID = 0;
    uint16_t m_SDRRecordID = 0;            ///< as asked for: 0 asks for the first record
    std::optional<uint16_t> m_SDRHeaderID; ///< of the record being read, as its header has it
    uint16_t m_SDRReservationID = 0;
    int m_SDROffset = 0;
    int m_SDRsInWalk = 0;
    OSAL::OSALMutex m_MapMutex;
    OSAL::OSALMutex m_GetLEDSignal; ///< completion latch of the synchronous LED read
    OSAL::OSALMutex m_SetLEDSignal; ///< and of the write
    // The LED command under way. The holder of the mutex sets these before it sends; the reply's handler uses them only
    // while m_State has the request's code.
    std::mutex m_LEDCommand;                         ///< one LED command at a time, from its first step to its result
    std::atomic<std::thread::id> m_LEDCommandThread; ///< whose turn it is, or nobody's
    int m_LEDCommandLEDID = 0;
    LED_STATE* m_LEDCommandState = nullptr; ///< what a read fills, its caller's
    int m_LEDCommandResult = 0;
    bool m_bColorCapsBegun = false; ///< a FRU with LEDs was found
    bool m_bSuperseded = false;
    bool m_bHandedOver = false; ///< the model owns the entities
};

/// IPMB checksum (IPMB specification, 2's complement): the sum of the bytes and the checksum is 0 modulo 256.
/// 0 when `a_Length` is not above 0.
unsigned char ipmb_checksum(const unsigned char* a_Data, int a_Length);

/// IPMB-L address of the module controller in AMC site 1 to 8 (AMC.0, geographic addresses); 0 for any other.
unsigned char ConvertAMCSiteNumberToIPMLAddress(unsigned char a_Site);

} // namespace BM_ADAPTOR
