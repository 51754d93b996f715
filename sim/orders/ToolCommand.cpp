// bladesim's command for the board's tools: what they were called with, and what they are told to do.
#include "sim/orders/ToolCommand.h"

#include "sim/orders/OrderCommand.h"
#include "sim/orders/ToolShow.h"
#include "sim/tools/InstallFolder.h"
#include "sim/tools/RunFiles.h"
#include "sim/tools/ToolLog.h"
#include "sim/tools/ToolOrders.h"

#include <charconv>
#include <cstdlib>
#include <vector>

namespace BLADESIM {
namespace {

using nlohmann::ordered_json;

constexpr char g_SetHelp[] = "Without an option the tool works as it should again: it ends at once, with status 0.\n"
                             "Example: bladesim tool set mavk_diag --exit 16 --delay 2000 --times 1";

std::vector<std::string> ToolNames() {
    std::vector<std::string> l_Names;
    for (const TOOL& l_Tool : g_Tools)
        l_Names.emplace_back(l_Tool.m_Name);
    return l_Names;
}

/// Every tool with what is ordered of it; 0 is nothing.
ordered_json ToolsAndOrders() {
    TOOL_ORDERS l_Orders = ReadToolOrders(RunFolder());
    ordered_json l_Tools = ordered_json::array();
    for (const TOOL& l_Tool : g_Tools) {
        const TOOL_ORDER& l_Order = l_Orders[std::string(l_Tool.m_Name)];
        l_Tools.push_back({{"tool", l_Tool.m_Name},
                           {"description", l_Tool.m_Description},
                           {"exit", l_Order.m_Exit},
                           {"signal", l_Order.m_Signal},
                           {"delay_ms", l_Order.m_Delay},
                           {"times", l_Order.m_Times}});
    }
    return l_Tools;
}

/// An empty text is none that is wrong.
std::string CheckSignal(const std::string& a_Signal) {
    int l_Signal = -1;
    std::from_chars(a_Signal.data(), a_Signal.data() + a_Signal.size(), l_Signal);
    const bool l_Ends = l_Signal == 0 || SignalEnds(l_Signal);
    return l_Ends ? "" : "signal " + a_Signal + " ends no process";
}

class TOOL_COMMAND : public ORDER_COMMAND {
public:
    TOOL_COMMAND() {
        CLI::App& l_Tool = AddCommand("tool", "The board's tools: their command lines, and how they end");
        l_Tool.require_subcommand(1);
        AddShow(*l_Tool.add_subcommand("show", "Show the command lines in their order, and how they ended"));
        AddList(*l_Tool.add_subcommand("list", "Show the tools and what is ordered of them"));
        AddSet(*l_Tool.add_subcommand("set", "Order how a tool ends, from its next run on"));
        Does(*l_Tool.add_subcommand("clear", "Forget command lines and orders"), [] {
            ClearToolOrders(RunFolder());
            ClearToolLog(RunFolder());
        });
    }

private:
    void AddShow(CLI::App& a_Show) {
        AddJson(a_Show);
        Does(a_Show, [this] { ShowAs(ReadToolLog(RunFolder()), FormatToolRuns); });
    }

    void AddList(CLI::App& a_List) {
        AddJson(a_List);
        Does(a_List, [this] { ShowAs(ToolsAndOrders(), FormatTools); });
    }

    void AddSet(CLI::App& a_Set) {
        a_Set.footer(g_SetHelp);
        a_Set.add_option("NAME", m_Tool, "The tool")->required()->type_name("")->check(CLI::IsMember(ToolNames()));
        CLI::Option* const l_Exit = a_Set.add_option("--exit", m_Order.m_Exit, "It ends with this status")
                                        ->type_name("N")
                                        ->check(CLI::Range(0, 255));
        a_Set.add_option("--signal", m_Order.m_Signal, "It ends by this signal")
            ->type_name("N")
            ->check(CLI::Range(1, g_MaxToolSignal))
            ->check(CheckSignal)
            ->excludes(l_Exit);
        a_Set.add_option("--delay", m_Order.m_Delay, "It takes so long")
            ->type_name("MS")
            ->check(CLI::Range(0U, g_MaxToolDelay));
        a_Set.add_option("--times", m_Order.m_Times, "Its next N runs only; 0: all")
            ->type_name("N")
            ->check(CLI::Range(0U, g_MaxToolTimes));
        Does(a_Set, [this] { SetToolOrder(RunFolder(), m_Tool, m_Order); });
    }

    void ShowAs(const ordered_json& a_Data, std::string (*a_Format)(const ordered_json&)) const {
        Print(m_Json ? JsonLine(a_Data) : a_Format(a_Data));
    }

    std::string m_Tool;
    TOOL_ORDER m_Order;
};

} // namespace

int RunToolCommand(int a_Count, char** a_Arguments) {
    return TOOL_COMMAND().Run(a_Count, a_Arguments);
}

} // namespace BLADESIM
