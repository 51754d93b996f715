// The LED commands: a host thread sets or reads one LED and waits until the reply's handler, on the domain thread,
// wakes it.
#include "ipmi/IPMI_Probe.h"

#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Callback.h"
#include "ipmi/model/IPMI_LEDState.h"

#include <OpenIPMI/ipmi_msgbits.h>
#include <OpenIPMI/ipmi_picmg.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <mutex>
#include <thread>

namespace BM_ADAPTOR {

namespace {

// PICMG 3.0, Set FRU LED State: LED function. A value between off and on is the off-duration in tens of milliseconds.
constexpr unsigned char LED_FUNCTION_OFF = 0x00;
constexpr unsigned char LED_FUNCTION_LOCAL_CONTROL = 0xFC;
constexpr unsigned char LED_FUNCTION_ON = 0xFF;

// Get FRU LED State: bits of the state byte.
constexpr unsigned LED_HAS_LOCAL_CONTROL = 1U << 0;
constexpr unsigned LED_IS_OVERRIDDEN = 1U << 1;
constexpr unsigned LED_TESTS_LAMP = 1U << 2;
constexpr unsigned LED_STATE_BITS = LED_HAS_LOCAL_CONTROL | LED_IS_OVERRIDDEN | LED_TESTS_LAMP;

// Get FRU LED State: places in the reply.
constexpr std::size_t REPLY_STATE = 2;
constexpr std::size_t REPLY_LOCAL = 3;    // function, on-duration, colour
constexpr std::size_t REPLY_OVERRIDE = 6; // likewise
constexpr std::size_t REPLY_LAMP_TEST = 9;

template <typename CODE, std::size_t SIZE>
CODE Translated(const std::array<CODE, SIZE>& a_Table, int a_Code, CODE a_Other) {
    return a_Code >= 0 && a_Code < static_cast<int>(SIZE) ? a_Table[static_cast<std::size_t>(a_Code)] : a_Other;
}

unsigned char PICMGColor(int32_t a_OpenIPMIColor) {
    static constexpr std::array<unsigned char, 7> l_Codes = {
        PICMG_LED_RED,   // black
        PICMG_LED_WHITE, // white
        PICMG_LED_RED,    PICMG_LED_GREEN, PICMG_LED_BLUE,
        PICMG_LED_AMBER, // yellow
        PICMG_LED_ORANGE,
    };
    return Translated<unsigned char>(l_Codes, a_OpenIPMIColor, PICMG_LED_RED);
}

int32_t OpenIPMIColor(unsigned char a_PICMGColor) {
    static constexpr std::array<int32_t, 6> l_Codes = {
        IPMI_CONTROL_COLOR_BLACK, IPMI_CONTROL_COLOR_BLUE,   IPMI_CONTROL_COLOR_RED,
        IPMI_CONTROL_COLOR_GREEN, IPMI_CONTROL_COLOR_YELLOW, IPMI_CONTROL_COLOR_ORANGE,
    };
    return Translated<int32_t>(l_Codes, a_PICMGColor, IPMI_CONTROL_COLOR_WHITE);
}

// The command's tens of milliseconds, from 100 ms to 2.5 s.
unsigned char Duration(int32_t a_Milliseconds) {
    return static_cast<unsigned char>(std::clamp(a_Milliseconds / 10, 10, 250));
}

struct LED_FUNCTION {
    unsigned char m_Function = LED_FUNCTION_OFF;
    unsigned char m_OnDuration = 0;
};

// Times that make no sense switch the LED off.
LED_FUNCTION FunctionOf(const LED_STATE& a_State, int a_LEDID) {
    LED_FUNCTION l_Out;
    if (a_State.m_LocalControl != 0) {
        l_Out.m_Function = LED_FUNCTION_LOCAL_CONTROL;
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState LEDID=%i restoring to local control", a_LEDID);
    } else if (a_State.m_OnTime == 1 && a_State.m_OffTime == 0) {
        l_Out.m_Function = LED_FUNCTION_ON;
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState (on) LEDID=%i offset3=0x%x offset4=0x%x", a_LEDID,
                 l_Out.m_Function, l_Out.m_OnDuration);
    } else if (a_State.m_OnTime == 0 && a_State.m_OffTime == 1) {
        l_Out.m_Function = LED_FUNCTION_OFF;
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState (off) LEDID=%i offset3=0x%x offset4=0x%x", a_LEDID,
                 l_Out.m_Function, l_Out.m_OnDuration);
    } else if (a_State.m_OnTime > 1 && a_State.m_OffTime > 1) {
        l_Out.m_Function = Duration(a_State.m_OffTime);
        l_Out.m_OnDuration = Duration(a_State.m_OnTime);
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=%i offset3=0x%x offset4=0x%x",
                 a_LEDID, l_Out.m_Function, l_Out.m_OnDuration);
    } else {
        LogError(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState (blinking) LEDID=%i invalid times on=%i off=%i ",
                 a_LEDID, a_State.m_OnTime, a_State.m_OffTime);
    }
    return l_Out;
}

// Local control or override: function, on-duration and colour from `a_At` on. Times stay in the reply's tens of
// milliseconds: reading does not multiply by ten, though writing divides. On purpose.
void DecodeSection(const PROBE_REPLY& a_Reply, std::size_t a_At, int a_LEDID, LED_STATE& a_State) {
    const bool l_Local = a_At == REPLY_LOCAL;
    const unsigned char l_Function = a_Reply[a_At];
    a_State.m_LocalControl = l_Local ? 1 : 0;
    a_State.m_Color = OpenIPMIColor(a_Reply[a_At + 2]);
    switch (l_Function) {
    case LED_FUNCTION_ON:
        LogTrace(g_Logger2,
                 l_Local ? "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - local control section LED On"
                         : "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - Override section LED On",
                 a_LEDID);
        a_State.m_OnTime = 1;
        a_State.m_OffTime = 0;
        break;
    case LED_FUNCTION_OFF:
        LogTrace(g_Logger2,
                 l_Local ? "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - local control section LED off"
                         : "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - Override section LED off",
                 a_LEDID);
        a_State.m_OnTime = 0;
        a_State.m_OffTime = 1;
        a_State.m_Color = IPMI_CONTROL_COLOR_BLACK;
        break;
    default:
        LogTrace(g_Logger2,
                 l_Local ? "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - local control section LED Blinking"
                         : "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - Override section LED Blinking",
                 a_LEDID);
        a_State.m_OnTime = a_Reply[a_At + 1];
        a_State.m_OffTime = l_Function;
        break;
    }
}

// False, and the state is left alone, when the reply is too short for what its state byte announces. A controller may
// leave out the sections after the one that is in force.
bool DecodeLEDState(const PROBE_REPLY& a_Reply, int a_LEDID, LED_STATE& a_State) {
    if (!a_Reply.HasBytes(REPLY_STATE + 1)) return false;
    const unsigned l_Bits = a_Reply[REPLY_STATE] & LED_STATE_BITS;
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - State=0x%x", a_LEDID, l_Bits);
    if ((l_Bits & LED_TESTS_LAMP) != 0) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - LAMPTEST", a_LEDID);
        if (!a_Reply.HasBytes(REPLY_LAMP_TEST + 1)) return false;
        a_State.m_LocalControl = 0;
        a_State.m_OnTime = 0;
        a_State.m_OffTime = 0;
        a_State.m_LampTestDuration = a_Reply[REPLY_LAMP_TEST];
        a_State.m_Valid = 1;
        return true;
    }
    const bool l_Override = (l_Bits & LED_IS_OVERRIDDEN) != 0;
    if (l_Override) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - OVERRIDE", a_LEDID);
    } else {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i - local control section", a_LEDID);
    }
    const std::size_t l_At = l_Override ? REPLY_OVERRIDE : REPLY_LOCAL;
    if (!a_Reply.HasBytes(l_At + 3)) return false;
    DecodeSection(a_Reply, l_At, a_LEDID, a_State);
    a_State.m_LampTestDuration = 0;
    a_State.m_Valid = 1;
    return true;
}

} // namespace

// 0 for a FRU id without an entity.
int ENTITYCAPTURE::NumLEDs(int a_FRUID) {
    if (a_FRUID < 0 || a_FRUID > 0xFF) return 0;
    const MODEL_READER l_Model(g_EntityMapLock);
    const IPMI_ENTITY* l_Entity = FindEntity(a_FRUID);
    return l_Entity != nullptr ? static_cast<int>(l_Entity->m_LEDMap.size()) : 0;
}

// The turn of a command, one at a time. It is the only lock under which the host's code runs: in the lines written
// meanwhile. A command from within such a line is refused, as is one in a callback of OpenIPMI, because both would wait
// for themselves.
class ENTITYCAPTURE::LED_TURN {
public:
    explicit LED_TURN(ENTITYCAPTURE& a_Probe) : m_Probe(a_Probe), m_Turn(a_Probe.m_LEDCommand) {
        m_Probe.m_LEDCommandThread = std::this_thread::get_id();
    }
    LED_TURN(const LED_TURN&) = delete;
    LED_TURN& operator=(const LED_TURN&) = delete;
    ~LED_TURN() { m_Probe.m_LEDCommandThread = std::thread::id(); }

private:
    ENTITYCAPTURE& m_Probe;
    const std::lock_guard<std::mutex> m_Turn;
};

bool ENTITYCAPTURE::WouldWaitForItself() const {
    return InCallback() || m_LEDCommandThread.load() == std::this_thread::get_id();
}

// A command from its request code to its result. The signal is locked twice, the second time to wait for the handler's
// unlock. The scope does not end before the reply is there, not even by an exception: the handler still uses what the
// command lent it. FRU Control may be sent meanwhile: it does not change a code that somebody waits for.
class ENTITYCAPTURE::LED_COMMAND {
public:
    LED_COMMAND(ENTITYCAPTURE& a_Probe, PROBE_STATE_e a_Code, int a_LEDID, LED_STATE* a_State,
                OSAL::OSALMutex& a_Signal)
        : m_Probe(a_Probe),
          m_Signal(a_Signal) {
        m_Probe.m_LEDCommandLEDID = a_LEDID;
        m_Probe.m_LEDCommandState = a_State;
        m_Probe.m_State = a_Code;
        m_Signal.Lock();
    }
    LED_COMMAND(const LED_COMMAND&) = delete;
    LED_COMMAND& operator=(const LED_COMMAND&) = delete;
    ~LED_COMMAND() {
        if (m_bSent) {
            Wait();
        } else { // no reply can come
            m_Probe.m_LEDCommandState = nullptr;
            m_Probe.m_State = PROBE_IDLE;
        }
        m_Signal.Unlock();
    }

    void Sent() { m_bSent = true; }
    void Wait() {
        if (!m_bAnswered) m_Signal.Lock();
        m_bAnswered = true;
    }

private:
    ENTITYCAPTURE& m_Probe;
    OSAL::OSALMutex& m_Signal;
    bool m_bSent = false;
    bool m_bAnswered = false;
};

int ENTITYCAPTURE::SendSetPICMCLEDState(int a_FRUID, int a_LEDID, LED_STATE* a_State) {
    assert(!InCallback()); // it would wait for itself
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState a_FRUID=%i, LEDID=%i", a_FRUID, a_LEDID);
    if (WouldWaitForItself()) return -1;
    const int l_Count = NumLEDs(a_FRUID);
    if (a_LEDID < 0 || a_LEDID >= l_Count || a_State == nullptr) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState ERROR LEDID=%i larger than max LED %i", a_LEDID,
                 l_Count);
        return -1;
    }
    const LED_FUNCTION l_Function = FunctionOf(*a_State, a_LEDID);
    const unsigned char l_Color = PICMGColor(a_State->m_Color);
    a_State->m_Color = l_Color; // the caller gets the PICMG code back, on purpose
    const std::array<unsigned char, 6> l_Data = {IPMI_PICMG_GRP_EXT,
                                                 static_cast<unsigned char>(a_FRUID),
                                                 static_cast<unsigned char>(a_LEDID),
                                                 l_Function.m_Function,
                                                 l_Function.m_OnDuration,
                                                 l_Color};
    LogTrace(g_Logger2,
             "ENTITYCAPTURE :: SendSetPICMCLEDState(), message_data[0]=%i,data[1]=%i,[2]=%i, [3]=0x%x, [4]=0x%x, "
             "[5]=%d\n",
             l_Data[0], l_Data[1], l_Data[2], l_Data[3], l_Data[4], l_Data[5]);
    LogTrace(g_Logger2,
             "ENTITYCAPTURE :: SendSetPICMCLEDState(), message.netfn=0x%x, message.cmd=0x%x, message.data_len=0x%x\n",
             IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_SET_FRU_LED_STATE, static_cast<unsigned>(l_Data.size()));

    const LED_TURN l_Turn(*this);
    LED_COMMAND l_Command(*this, PROBE_SET_LED_STATE, a_LEDID, nullptr, m_SetLEDSignal);
    const int l_Sent =
        Send(IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_SET_FRU_LED_STATE, l_Data, s_ReceivedSetPICMCLEDState);
    l_Command.Sent();
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendSetPICMCLEDState - rc=%i", l_Sent);
    l_Command.Wait();
    return m_LEDCommandResult;
}

int ENTITYCAPTURE::ReceivedSetPICMCLEDState(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_SET_LED_STATE, "ENTITYCAPTURE :: ReceivedSetPICMCLEDState -- incorrect State\n")) return -1;
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSetPICMCLEDState LEDID=%i", m_LEDCommandLEDID);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedSetPICMCLEDState CC=0x%x", l_Reply.CompletionCode());
    EndLEDCommand(l_Reply.CompletionCode(), m_SetLEDSignal);
    return 0;
}

int ENTITYCAPTURE::SendGetPICMCLEDState(int a_FRUID, int a_LEDID, LED_STATE* a_State) {
    assert(!InCallback()); // it would wait for itself
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState FRUID=%i LEDID=%i State=0x%p", a_FRUID, a_LEDID,
             static_cast<void*>(a_State));
    if (WouldWaitForItself()) return -1;
    const int l_Count = NumLEDs(a_FRUID);
    if (a_LEDID < 0 || a_LEDID >= l_Count || a_State == nullptr) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState ERROR LEDID=%i larger than max LED %i", a_LEDID,
                 l_Count);
        return -1;
    }
    const std::array<unsigned char, 3> l_Data = {IPMI_PICMG_GRP_EXT, static_cast<unsigned char>(a_FRUID),
                                                 static_cast<unsigned char>(a_LEDID)};

    const LED_TURN l_Turn(*this);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=%i - Sending command", a_LEDID);
    {
        LED_COMMAND l_Command(*this, PROBE_GET_LED_STATE, a_LEDID, a_State, m_GetLEDSignal);
        const int l_Sent =
            Send(IPMI_GROUP_EXTENSION_NETFN, IPMI_PICMG_CMD_GET_FRU_LED_STATE, l_Data, s_ReceivedGetPICMCLEDState);
        l_Command.Sent();
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState - rc=%i", l_Sent);
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=%i - Waiting Mutex", a_LEDID);
        l_Command.Wait();
        LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=%i - Cleanup Mutex", a_LEDID);
    }
    LogTrace(g_Logger2, "ENTITYCAPTURE :: SendGetPICMCLEDState LEDID=%i - returning %i", a_LEDID, m_LEDCommandResult);
    return m_LEDCommandResult;
}

int ENTITYCAPTURE::ReceivedGetPICMCLEDState(const ipmi_msgi_t& a_Item) {
    if (!InState(PROBE_GET_LED_STATE, "ENTITYCAPTURE :: ReceivedGetPICMCLEDState -- incorrect State\n")) return -1;
    const PROBE_REPLY l_Reply(a_Item);
    LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedPICMCLEDState LEDID=%i", m_LEDCommandLEDID);
    if (l_Reply.CompletionCode() != 0) {
        LogTrace(g_Logger2, "ENTITYCAPTURE :: ReceivedGetPICMCLEDState CC=0x%x", l_Reply.CompletionCode());
        EndLEDCommand(0, m_GetLEDSignal);
        return 0;
    }
    const bool l_Decoded =
        m_LEDCommandState != nullptr && DecodeLEDState(l_Reply, m_LEDCommandLEDID, *m_LEDCommandState);
    EndLEDCommand(l_Decoded ? 1 : 0, m_GetLEDSignal);
    return 0;
}

// The code is reset before the signal: the thread that wakes may send at once, and a second reply finds nobody waiting.
void ENTITYCAPTURE::EndLEDCommand(int a_Result, OSAL::OSALMutex& a_Signal) {
    m_LEDCommandResult = a_Result;
    m_LEDCommandState = nullptr;
    m_State = PROBE_IDLE;
    a_Signal.Unlock();
}

} // namespace BM_ADAPTOR
