// bladesim's command for the board's Ethernet switch: its ports, its forwarding table, and the calls that it makes
// fail.
#include "sim/orders/SwitchCommand.h"

#include "sim/base/Error.h"
#include "sim/orders/OrderCommand.h"
#include "sim/orders/SwitchShow.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {
namespace {

using namespace bm_dev;

constexpr char FailHelp[] = "The call answers CODE from now on, until it is cleared.\n"
                            "Example: bladesim switch fail mavkAmcSwitchPortEnable 5 3";

std::string File() {
    const auto file = SwitchFile();
    if (!file) throw BladeError("this is not the inside of a blade");
    return *file;
}

void SetCable(SwitchState& state, int port, bool up) {
    const auto found = state.m_ports.find(port);
    if (found == state.m_ports.end()) throw BladeError("the switch has no port " + std::to_string(port));
    found->second.m_cable = up;
}

// Without a call it clears all failures, without a number all those of the call.
void Clear(SwitchState& state, const std::optional<std::string>& call, std::optional<int> number) {
    std::erase_if(state.m_failures, [&](const auto& failure) {
        const auto& [failedCall, failedNumber] = failure.first;
        return (!call || failedCall == *call) && (!number || failedNumber == number);
    });
}

std::string NotZero(const std::string& text) {
    return text.find_first_not_of("+-0x") == std::string::npos ? "code 0 is success: clear lifts a failure" : "";
}

class SwitchCommand : public OrderCommand {
public:
    SwitchCommand() {
        CLI::App& switchCommand =
            AddCommand("switch", "The board's Ethernet switch: ports, learnt addresses, failures");
        switchCommand.require_subcommand(1);
        AddShow(*switchCommand.add_subcommand("show", "Show ports, learnt addresses and the calls that fail"));
        AddLink(*switchCommand.add_subcommand("link", "Plug a port's cable in or out"));
        AddFail(*switchCommand.add_subcommand("fail", "Make a call of the board driver fail"));
        AddClear(*switchCommand.add_subcommand("clear", "Make a call work again, or all of them"));
    }

private:
    void AddShow(CLI::App& show) {
        AddJson(show);
        Does(show, [this] {
            const SwitchState state = ReadSwitch(File());
            Print(m_json ? JsonLine(JsonOfSwitch(state)) : FormatSwitch(state));
        });
    }

    void AddLink(CLI::App& link) {
        link.add_option("PORT", m_port, "The switch's own port number: 3 and 4 fabric, 5 and 6 RTM, 7 and 8 CPUs")
            ->required()
            ->type_name("");
        link.add_option("STATE", m_cableState, "up: it carries a link while the port is enabled; down: it does not")
            ->required()
            ->type_name("")
            ->check(CLI::IsMember({"up", "down"}));
        Does(link, [this] {
            ChangeSwitch(File(), [this](SwitchState& state) { SetCable(state, m_port, m_cableState == "up"); });
        });
    }

    void AddFail(CLI::App& fail) {
        fail.footer(FailHelp);
        AddCall(fail)->required();
        fail.add_option("CODE", m_code, "What it answers; 0 would be success")
            ->required()
            ->type_name("")
            ->check(NotZero);
        AddNumber(fail);
        Does(fail, [this] {
            ChangeSwitch(File(), [this](SwitchState& state) { state.SetFailure(*m_call, m_number, m_code); });
        });
    }

    void AddClear(CLI::App& clear) {
        AddCall(clear);
        AddNumber(clear);
        Does(clear, [this] { ChangeSwitch(File(), [this](SwitchState& state) { Clear(state, m_call, m_number); }); });
    }

    CLI::Option* AddCall(CLI::App& command) {
        const std::vector<std::string> calls(SwitchCalls.begin(), SwitchCalls.end());
        return command.add_option("CALL", m_call, "The board driver's call")
            ->type_name("")
            ->check(CLI::IsMember(calls));
    }

    void AddNumber(CLI::App& command) {
        command.add_option("NUMBER", m_number, "Only for this port of the switch, or this DSP (counted from 0)")
            ->type_name("");
    }

    int m_port = 0;
    std::string m_cableState;
    int m_code = 0;
    std::optional<std::string> m_call;
    std::optional<int> m_number;
};

} // namespace

int RunSwitchCommand(int count, char** arguments) {
    return SwitchCommand().Run(count, arguments);
}

} // namespace bladesim
