// The board driver: on a simulated board its switch, on any other machine there is no card to open.
#include "bm/BoardDriver.h"

#include "bm/Log.h"
#include "bm_dev/SimulatedSwitch.h"

#include <algorithm>

namespace {

using namespace BM_PLATFORM;

enum OpenResult : int { OpenParseError = 2, OpenNoMemory = 3, OpenNullHandle = 4, OpenNoCard = 6 };

// Calls `action(state file)`. Without a board there is no card; a state file that is no good counts as `unreadable`.
template <typename Action>
int OnBoard(const char* call, int unreadable, Action action) {
    try {
        const auto file = SwitchFile();
        return file ? action(*file) : static_cast<int>(SWITCH_NO_CARD);
    } catch (const std::exception& error) {
        bmiLog(BM_LOG_ERROR, "Board Driver", "%s - %s", call, error.what());
        return unreadable;
    }
}

// Changes the state unless the call is to fail; `action(state)` gives the result.
template <typename Action>
int Change(const char* call, int number, Action action) {
    return OnBoard(call, SWITCH_STATE_UNREADABLE, [&](const std::string& file) {
        int result = 0;
        ChangeSwitch(file, [&](SWITCH_STATE& state) {
            result = state.FailureOf(call, number);
            if (result == 0) result = action(state);
        });
        return result;
    });
}

int Learn(SWITCH_STATE& state, const unsigned char* mac, SWITCH_DESTINATION destination) {
    std::array<unsigned char, 6> address{};
    std::copy_n(mac, address.size(), address.begin());
    if (state.m_Learnt.size() >= SWITCH_TABLE_SIZE && !state.m_Learnt.contains(address)) return SWITCH_TABLE_FULL;
    state.m_Learnt[address] = destination;
    return 0;
}

} // namespace

int uPCIMemOpen(void* handle, int, int) {
    return OnBoard(__func__, OpenParseError, [&](const std::string& file) {
        const int failure = ReadSwitch(file).FailureOf("uPCIMemOpen");
        return failure == 0 && handle == nullptr ? static_cast<int>(OpenNullHandle) : failure;
    });
}

int uPCIMemClose(void*) {
    if (!SwitchFile()) return 0; // nothing was opened
    return OnBoard(__func__, SWITCH_STATE_UNREADABLE,
                   [](const std::string& file) { return ReadSwitch(file).FailureOf("uPCIMemClose"); });
}

int mavkAmcSwitchPortEnable(int backend, int mode, int* out) {
    enum PortMode : int { Disable = 0, Enable = 1, Query = 2 };
    if (mode < Disable || mode > Query) return SwitchFile() ? SWITCH_BAD_ARGUMENT : SWITCH_NO_CARD;
    return Change(__func__, backend, [&](SWITCH_STATE& state) {
        const auto port = state.m_Ports.find(backend);
        if (port == state.m_Ports.end()) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (mode != Query) port->second.m_Enabled = mode == Enable;
        if (out != nullptr) *out = port->second.m_Enabled ? 1 : 0;
        return 0;
    });
}

int mavkAmcSwitchPortCheckLink(int backend, int* out) {
    return OnBoard(__func__, SWITCH_STATE_UNREADABLE, [&](const std::string& file) {
        const SWITCH_STATE state = ReadSwitch(file);
        if (const int failure = state.FailureOf("mavkAmcSwitchPortCheckLink", backend)) return failure;
        const auto port = state.m_Ports.find(backend);
        if (port == state.m_Ports.end()) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (out == nullptr) return static_cast<int>(SWITCH_BAD_ARGUMENT);
        *out = port->second.m_Enabled && port->second.m_Cable ? 1 : 0;
        return 0;
    });
}

int mavkAmcSwitchMACLearn(int port, const unsigned char mac[6]) {
    return Change(__func__, port, [&](SWITCH_STATE& state) {
        if (!state.m_Ports.contains(port)) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (mac == nullptr) return static_cast<int>(SWITCH_BAD_ARGUMENT);
        return Learn(state, mac, {false, port});
    });
}

int mavkAmcSwitchMACLearnByDSP(int dsp, const unsigned char mac[6]) {
    return Change(__func__, dsp, [&](SWITCH_STATE& state) {
        if (dsp < 0 || dsp >= SWITCH_DSPS) return static_cast<int>(SWITCH_NO_SUCH_PORT);
        if (mac == nullptr) return static_cast<int>(SWITCH_BAD_ARGUMENT);
        return Learn(state, mac, {true, dsp});
    });
}
