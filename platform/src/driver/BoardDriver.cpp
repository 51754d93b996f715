// The board driver: on a simulated board its switch, on any other machine there is no card to open.
#include "bm/BoardDriver.h"

#include "bm/Log.h"
#include "bm_dev/SimulatedSwitch.h"

#include <algorithm>

namespace {

using namespace BM_PLATFORM;

enum OPEN_RESULT_e : int { OPEN_PARSE_ERROR = 2, OPEN_NO_MEMORY = 3, OPEN_NULL_HANDLE = 4, OPEN_NO_CARD = 6 };

// Calls `a_Do(state file)`. Without a board there is no card; a state file that is no good counts as `a_Unreadable`.
template <typename DO>
int OnBoard(const char* a_Call, int a_Unreadable, DO a_Do) {
    try {
        const auto l_File = SwitchFile();
        return l_File ? a_Do(*l_File) : static_cast<int>(SWITCH_NO_CARD);
    } catch (const std::exception& l_Error) {
        bmiLog(BM_LOG_ERROR, "Board Driver", "%s - %s", a_Call, l_Error.what());
        return a_Unreadable;
    }
}

// Changes the state unless the call is to fail; `a_Do(state)` gives the result.
template <typename DO>
int Change(const char* a_Call, int a_Number, DO a_Do) {
    return OnBoard(a_Call, SWITCH_STATE_UNREADABLE, [&](const std::string& a_File) {
        int l_Result = 0;
        ChangeSwitch(a_File, [&](SWITCH_STATE& a_State) {
            l_Result = a_State.FailureOf(a_Call, a_Number);
            if (l_Result == 0) l_Result = a_Do(a_State);
        });
        return l_Result;
    });
}

int Learn(SWITCH_STATE& a_State, const unsigned char* a_Mac, SWITCH_DESTINATION a_Destination) {
    std::array<unsigned char, 6> l_Mac{};
    std::copy_n(a_Mac, l_Mac.size(), l_Mac.begin());
    if (a_State.m_Learnt.size() >= SWITCH_TABLE_SIZE && !a_State.m_Learnt.contains(l_Mac)) return SWITCH_TABLE_FULL;
    a_State.m_Learnt[l_Mac] = a_Destination;
    return 0;
}

} // namespace

int uPCIMemOpen(void* a_Handle, int, int) {
    return OnBoard(__func__, OPEN_PARSE_ERROR, [&](const std::string& a_File) {
        const int l_Failure = ReadSwitch(a_File).FailureOf("uPCIMemOpen");
        return l_Failure == 0 && a_Handle == nullptr ? static_cast<int>(OPEN_NULL_HANDLE) : l_Failure;
    });
}

int uPCIMemClose(void*) {
    if (!SwitchFile()) return 0; // nothing was opened
    return OnBoard(__func__, SWITCH_STATE_UNREADABLE,
                   [](const std::string& a_File) { return ReadSwitch(a_File).FailureOf("uPCIMemClose"); });
}

int mavkAmcSwitchPortEnable(int a_Backend, int a_Mode, int* a_Out) {
    enum MODE_e : int { DISABLE = 0, ENABLE = 1, QUERY = 2 };
    if (a_Mode < DISABLE || a_Mode > QUERY) return SwitchFile() ? SWITCH_BAD_ARGUMENT : SWITCH_NO_CARD;
    return Change(__func__, a_Backend, [&](SWITCH_STATE& a_State) {
        const auto l_Port = a_State.m_Ports.find(a_Backend);
        if (l_Port == a_State.m_Ports.end()) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (a_Mode != QUERY) l_Port->second.m_Enabled = a_Mode == ENABLE;
        if (a_Out != nullptr) *a_Out = l_Port->second.m_Enabled ? 1 : 0;
        return 0;
    });
}

int mavkAmcSwitchPortCheckLink(int a_Backend, int* a_Out) {
    return OnBoard(__func__, SWITCH_STATE_UNREADABLE, [&](const std::string& a_File) {
        const SWITCH_STATE l_State = ReadSwitch(a_File);
        if (const int l_Failure = l_State.FailureOf("mavkAmcSwitchPortCheckLink", a_Backend)) return l_Failure;
        const auto l_Port = l_State.m_Ports.find(a_Backend);
        if (l_Port == l_State.m_Ports.end()) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (a_Out == nullptr) return static_cast<int>(SWITCH_BAD_ARGUMENT);
        *a_Out = l_Port->second.m_Enabled && l_Port->second.m_Cable ? 1 : 0;
        return 0;
    });
}

int mavkAmcSwitchMACLearn(int a_Port, const unsigned char a_Mac[6]) {
    return Change(__func__, a_Port, [&](SWITCH_STATE& a_State) {
        if (!a_State.m_Ports.contains(a_Port)) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (a_Mac == nullptr) return static_cast<int>(SWITCH_BAD_ARGUMENT);
        return Learn(a_State, a_Mac, {false, a_Port});
    });
}

int mavkAmcSwitchMACLearnByDSP(int a_Dsp, const unsigned char a_Mac[6]) {
    return Change(__func__, a_Dsp, [&](SWITCH_STATE& a_State) {
        if (a_Dsp < 0 || a_Dsp >= SWITCH_DSPS) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (a_Mac == nullptr) return static_cast<int>(SWITCH_BAD_ARGUMENT);
        return Learn(a_State, a_Mac, {true, a_Dsp});
    });
}
