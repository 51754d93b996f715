// bladesim's command for the board's tools: how they were called, and the orders that they have.
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

namespace bladesim {
namespace {

using nlohmann::ordered_json;

constexpr char SetHelp[] = "Without an option the tool works as it should again: it ends at once, with status 0.\n"
                           "Example: bladesim tool set mavk_diag --exit 16 --delay 2000 --times 1";

std::vector<std::string> ToolNames() {
    std::vector<std::string> names;
    for (const Tool& tool : Tools)
        names.emplace_back(tool.m_name);
    return names;
}

/// Every tool with its order; 0 means none.
ordered_json ToolsAndOrders() {
    ToolOrders orders = ReadToolOrders(RunFolder());
    ordered_json tools = ordered_json::array();
    for (const Tool& tool : Tools) {
        const ToolOrder& order = orders[std::string(tool.m_name)];
        tools.push_back({{"tool", tool.m_name},
                         {"description", tool.m_description},
                         {"exit", order.m_exit},
                         {"signal", order.m_signal},
                         {"delay_ms", order.m_delay},
                         {"times", order.m_times}});
    }
    return tools;
}

/// Empty when the text is right.
std::string CheckSignal(const std::string& signal) {
    int number = -1;
    std::from_chars(signal.data(), signal.data() + signal.size(), number);
    const bool ends = number == 0 || SignalEnds(number);
    return ends ? "" : "signal " + signal + " does not end a process";
}

class ToolCommand : public OrderCommand {
public:
    ToolCommand() {
        CLI::App& tool = AddCommand("tool", "The board's tools: their command lines, and how they end");
        tool.require_subcommand(1);
        AddShow(*tool.add_subcommand("show", "Show the command lines in their order, and how they ended"));
        AddList(*tool.add_subcommand("list", "Show the tools and their orders"));
        AddSet(*tool.add_subcommand("set", "Set how a tool ends, from its next run on"));
        Does(*tool.add_subcommand("clear", "Forget command lines and orders"), [] {
            ClearToolOrders(RunFolder());
            ClearToolLog(RunFolder());
        });
    }

private:
    void AddShow(CLI::App& show) {
        AddJson(show);
        Does(show, [this] { ShowAs(ReadToolLog(RunFolder()), FormatToolRuns); });
    }

    void AddList(CLI::App& list) {
        AddJson(list);
        Does(list, [this] { ShowAs(ToolsAndOrders(), FormatTools); });
    }

    void AddSet(CLI::App& set) {
        set.footer(SetHelp);
        set.add_option("NAME", m_tool, "The tool")->required()->type_name("")->check(CLI::IsMember(ToolNames()));
        CLI::Option* const exit = set.add_option("--exit", m_order.m_exit, "It ends with this status")
                                      ->type_name("N")
                                      ->check(CLI::Range(0, 255));
        set.add_option("--signal", m_order.m_signal, "It ends by this signal")
            ->type_name("N")
            ->check(CLI::Range(1, MaxToolSignal))
            ->check(CheckSignal)
            ->excludes(exit);
        set.add_option("--delay", m_order.m_delay, "How long it takes")
            ->type_name("MS")
            ->check(CLI::Range(0U, MaxToolDelay));
        set.add_option("--times", m_order.m_times, "Its next N runs only; 0: all")
            ->type_name("N")
            ->check(CLI::Range(0U, MaxToolTimes));
        Does(set, [this] { SetToolOrder(RunFolder(), m_tool, m_order); });
    }

    void ShowAs(const ordered_json& data, std::string (*format)(const ordered_json&)) const {
        Print(m_json ? JsonLine(data) : format(data));
    }

    std::string m_tool;
    ToolOrder m_order;
};

} // namespace

int RunToolCommand(int count, char** arguments) {
    return ToolCommand().Run(count, arguments);
}

} // namespace bladesim
