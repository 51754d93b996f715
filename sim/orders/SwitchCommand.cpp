// bladesim's command for the board's Ethernet switch: its ports, its forwarding table, and calls that are to fail.
#include "sim/orders/SwitchCommand.h"

#include "sim/base/Error.h"
#include "sim/orders/OrderCommand.h"
#include "sim/orders/SwitchShow.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace BLADESIM {
namespace {

using namespace BM_PLATFORM;

constexpr char g_FailHelp[] = "The call answers CODE from now on, until it is cleared.\n"
                              "Example: bladesim switch fail mavkAmcSwitchPortEnable 5 3";

std::string File() {
    const auto l_File = SwitchFile();
    if (!l_File) throw BLADE_ERROR("this is not the inside of a blade");
    return *l_File;
}

void SetCable(SWITCH_STATE& a_State, int a_Port, bool a_Up) {
    const auto l_Port = a_State.m_Ports.find(a_Port);
    if (l_Port == a_State.m_Ports.end()) throw BLADE_ERROR("the switch has no port " + std::to_string(a_Port));
    l_Port->second.m_Cable = a_Up;
}

// Without a call all failures are lifted, without a number all those of the call.
void Clear(SWITCH_STATE& a_State, const std::optional<std::string>& a_Call, std::optional<int> a_Number) {
    std::erase_if(a_State.m_Failures, [&](const auto& a_Failure) {
        const auto& [l_Call, l_Number] = a_Failure.first;
        return (!a_Call || l_Call == *a_Call) && (!a_Number || l_Number == a_Number);
    });
}

std::string NotZero(const std::string& a_Text) {
    return a_Text.find_first_not_of("+-0x") == std::string::npos ? "code 0 is success: clear lifts a failure" : "";
}

class SWITCH_COMMAND : public ORDER_COMMAND {
public:
    SWITCH_COMMAND() {
        CLI::App& l_Switch = AddCommand("switch", "The board's Ethernet switch: ports, learnt addresses, failures");
        l_Switch.require_subcommand(1);
        AddShow(*l_Switch.add_subcommand("show", "Show ports, learnt addresses and the calls that fail"));
        AddLink(*l_Switch.add_subcommand("link", "Plug a port's cable in or out"));
        AddFail(*l_Switch.add_subcommand("fail", "Let a call of the board driver fail"));
        AddClear(*l_Switch.add_subcommand("clear", "Let a call work again, or all of them"));
    }

private:
    void AddShow(CLI::App& a_Show) {
        AddJson(a_Show);
        Does(a_Show, [this] {
            const SWITCH_STATE l_State = ReadSwitch(File());
            Print(m_Json ? JsonLine(JsonOfSwitch(l_State)) : FormatSwitch(l_State));
        });
    }

    void AddLink(CLI::App& a_Link) {
        a_Link.add_option("PORT", m_Port, "The switch's own number of it: 3 and 4 fabric, 5 and 6 RTM, 7 and 8 CPUs")
            ->required()
            ->type_name("");
        a_Link.add_option("STATE", m_Cable, "up: it carries a link while the port is enabled; down: it does not")
            ->required()
            ->type_name("")
            ->check(CLI::IsMember({"up", "down"}));
        Does(a_Link, [this] {
            ChangeSwitch(File(), [this](SWITCH_STATE& a_State) { SetCable(a_State, m_Port, m_Cable == "up"); });
        });
    }

    void AddFail(CLI::App& a_Fail) {
        a_Fail.footer(g_FailHelp);
        AddCall(a_Fail)->required();
        a_Fail.add_option("CODE", m_Code, "What it answers; 0 would be success")
            ->required()
            ->type_name("")
            ->check(NotZero);
        AddNumber(a_Fail);
        Does(a_Fail, [this] {
            ChangeSwitch(File(), [this](SWITCH_STATE& a_State) { a_State.SetFailure(*m_Call, m_Number, m_Code); });
        });
    }

    void AddClear(CLI::App& a_Clear) {
        AddCall(a_Clear);
        AddNumber(a_Clear);
        Does(a_Clear,
             [this] { ChangeSwitch(File(), [this](SWITCH_STATE& a_State) { Clear(a_State, m_Call, m_Number); }); });
    }

    CLI::Option* AddCall(CLI::App& a_Command) {
        const std::vector<std::string> l_Calls(SWITCH_CALLS.begin(), SWITCH_CALLS.end());
        return a_Command.add_option("CALL", m_Call, "The board driver's call")
            ->type_name("")
            ->check(CLI::IsMember(l_Calls));
    }

    void AddNumber(CLI::App& a_Command) {
        a_Command.add_option("NUMBER", m_Number, "Only for this port of the switch, or this DSP (counted from 0)")
            ->type_name("");
    }

    int m_Port = 0;
    std::string m_Cable;
    int m_Code = 0;
    std::optional<std::string> m_Call;
    std::optional<int> m_Number;
};

} // namespace

int RunSwitchCommand(int a_Count, char** a_Arguments) {
    return SWITCH_COMMAND().Run(a_Count, a_Arguments);
}

} // namespace BLADESIM
