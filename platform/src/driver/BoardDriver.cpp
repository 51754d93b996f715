// The board driver: on a simulated board it drives the simulated switch; on any other machine there is no card to open.
#include "bm/BoardDriver.h"

#include "bm/Log.h"
#include "bm_dev/SimulatedSwitch.h"

#include <algorithm>

namespace {

using namespace bm_dev;

enum OpenResult : int { OpenParseError = 2, OpenNoMemory = 3, OpenNullHandle = 4, OpenNoCard = 6 };

// Calls `action(state file)`. Without a board there is no card; for a bad state file the result is `unreadable`.
template <typename Action>
int OnBoard(const char* call, int unreadable, Action action) {
    try {
        const auto file = SwitchFile();
        return file ? action(*file) : static_cast<int>(SwitchNoCard);
    } catch (const std::exception& error) {
        bmiLog(BM_LOG_ERROR, "Board Driver", "%s - %s", call, error.what());
        return unreadable;
    }
}

// Changes the state unless a failure was ordered for the call; `action(state)` gives the result.
template <typename Action>
int Change(const char* call, int number, Action action) {
    return OnBoard(call, SwitchStateUnreadable, [&](const std::string& file) {
        int result = 0;
        ChangeSwitch(file, [&](SwitchState& state) {
            result = state.FailureOf(call, number);
            if (result == 0) result = action(state);
        });
        return result;
    });
}

int Learn(SwitchState& state, const unsigned char* mac, SwitchDestination destination) {
    std::array<unsigned char, 6> address{};
    std::copy_n(mac, address.size(), address.begin());
    if (state.m_learnt.size() >= SwitchTableSize && !state.m_learnt.contains(address)) return SwitchTableFull;
    state.m_learnt[address] = destination;
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
    return OnBoard(__func__, SwitchStateUnreadable,
                   [](const std::string& file) { return ReadSwitch(file).FailureOf("uPCIMemClose"); });
}

int mavkAmcSwitchPortEnable(int backend, int mode, int* out) {
    enum PortMode : int { Disable = 0, Enable = 1, Query = 2 };
    if (mode < Disable || mode > Query) return SwitchFile() ? SwitchBadArgument : SwitchNoCard;
    return Change(__func__, backend, [&](SwitchState& state) {
        const auto port = state.m_ports.find(backend);
        if (port == state.m_ports.end()) return static_cast<int>(SwitchNoSuchPort);
        if (mode != Query) port->second.m_enabled = mode == Enable;
        if (out != nullptr) *out = port->second.m_enabled ? 1 : 0;
        return 0;
    });
}

int mavkAmcSwitchPortCheckLink(int backend, int* out) {
    return OnBoard(__func__, SwitchStateUnreadable, [&](const std::string& file) {
        const SwitchState state = ReadSwitch(file);
        if (const int failure = state.FailureOf("mavkAmcSwitchPortCheckLink", backend)) return failure;
        const auto port = state.m_ports.find(backend);
        if (port == state.m_ports.end()) return static_cast<int>(SwitchNoSuchPort);
        if (out == nullptr) return static_cast<int>(SwitchBadArgument);
        *out = port->second.m_enabled && port->second.m_cable ? 1 : 0;
        return 0;
    });
}

int mavkAmcSwitchMACLearn(int port, const unsigned char mac[6]) {
    return Change(__func__, port, [&](SwitchState& state) {
        if (!state.m_ports.contains(port)) return static_cast<int>(SwitchNoSuchPort);
        if (mac == nullptr) return static_cast<int>(SwitchBadArgument);
        return Learn(state, mac, {false, port});
    });
}

int mavkAmcSwitchMACLearnByDSP(int dsp, const unsigned char mac[6]) {
    return Change(__func__, dsp, [&](SwitchState& state) {
        if (dsp < 0 || dsp >= SwitchDSPs) return static_cast<int>(SwitchNoSuchPort);
        if (mac == nullptr) return static_cast<int>(SwitchBadArgument);
        return Learn(state, mac, {true, dsp});
    });
}
