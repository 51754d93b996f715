// bladesim's command for the media software: how it behaves towards the health monitor.
#include "sim/orders/MediaCommand.h"

#include "sim/orders/OrderCommand.h"
#include "sim/orders/ToolShow.h"
#include "sim/tools/MediaProcess.h"
#include "sim/tools/RunFiles.h"
#include "sim/vxpsim/MediaOrder.h"

#include <limits>
#include <optional>

namespace BLADESIM {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

std::string ModesHelp() {
    std::string l_Text = "MODE is one of:\n";
    for (const MEDIA_MODE& l_Mode : g_MediaModes) {
        std::string l_Line = "  " + std::string(l_Mode.m_Name);
        l_Line.resize(20, ' ');
        l_Text += l_Line + std::string(l_Mode.m_Description) + "\n";
    }
    return l_Text + "\nExample: bladesim media set faulty --processor 7 --error-file boot.c";
}

ordered_json MediaState() {
    const std::string l_RunFolder = RunFolder();
    const MEDIA_ORDER l_Order = ReadMediaOrder(l_RunFolder);
    const auto l_Process = RunningMedia(l_RunFolder);
    const std::string l_Counts = ReadFile(l_RunFolder + "/" + g_MediaCountsFile);
    ordered_json l_State = {{"running", l_Process.has_value()},
                            {"process", l_Process ? ordered_json(*l_Process) : ordered_json()},
                            {"mode", l_Order.m_Mode->m_Name},
                            {"delay_ms", l_Order.m_Delay},
                            {"board_requests", 0},
                            {"processor_requests", 0}};
    if (!l_Counts.empty()) l_State.update(ordered_json::parse(l_Counts));
    return l_State;
}

/// An option of `media set`, which becomes a key of the order.
struct NUMBER_OPTION {
    const char* m_Option;
    const char* m_Key;
    const char* m_Description;
    uint32_t m_Max = std::numeric_limits<uint32_t>::max();
};

constexpr NUMBER_OPTION g_Numbers[] = {
    {"--delay", "delay_ms", "Milliseconds before each answer", g_MaxMediaDelay},
    {"--board-state", "board_state", "State of the board; live: 1, or 0 with a sub-state of 4 or more"},
    {"--sub-state", "sub_state", "Sub-state of the board; live: 4 or more, or 0 in state 1"},
    {"--processor-state", "processor_state", "State of the processor; below 2 it has a fault"},
    {"--processor", "processor", "Number of the processor that is told of"},
    {"--severity", "severity", "Severity of its fault"},
};

struct TEXT_OPTION {
    const char* m_Option;
    const char* m_Key;
    const char* m_Description;
};

constexpr TEXT_OPTION g_Texts[] = {
    {"--error-file", "error_file", "Source file in which the fault was found"},
    {"--cause-file", "cause_file", "Source file of its cause"},
};

class MEDIA_COMMAND : public ORDER_COMMAND {
public:
    MEDIA_COMMAND() {
        CLI::App& l_Media = AddCommand("media", "The media software: how it answers the health monitor");
        l_Media.require_subcommand(1);
        CLI::App* const l_Show = l_Media.add_subcommand("show", "Show whether it runs, and what it was asked");
        AddJson(*l_Show);
        Does(*l_Show, [this] {
            const ordered_json l_State = MediaState();
            Print(m_Json ? JsonLine(l_State) : FormatMedia(l_State));
        });
        AddSet(*l_Media.add_subcommand("set", "Order how it behaves, from now on and when it is started again"));
    }

private:
    void AddSet(CLI::App& a_Set) {
        a_Set.footer(ModesHelp());
        a_Set.add_option("MODE", m_Mode, "What it does with a request")
            ->required()
            ->type_name("")
            ->check([](const std::string& a_Mode) { return FindMediaMode(a_Mode) ? "" : a_Mode + " is no mode"; });
        for (const NUMBER_OPTION& l_Number : g_Numbers) {
            a_Set
                .add_option_function<uint32_t>(
                    l_Number.m_Option, [this, &l_Number](uint32_t a_Value) { m_Order[l_Number.m_Key] = a_Value; },
                    l_Number.m_Description)
                ->type_name("N")
                ->check(CLI::Range(uint32_t{0}, l_Number.m_Max));
        }
        for (const TEXT_OPTION& l_Text : g_Texts) {
            a_Set
                .add_option_function<std::string>(
                    l_Text.m_Option, [this, &l_Text](const std::string& a_Value) { m_Order[l_Text.m_Key] = a_Value; },
                    l_Text.m_Description)
                ->type_name("TEXT");
        }
        a_Set.add_flag_callback(
            "--at-processor", [this] { m_Order["at_processor"] = true; },
            "The board is answered as not live; the mode befalls the question for a processor");
        Does(a_Set, [this] { Set(); });
    }

    /// What is dead does not read what it is told.
    void Set() {
        const std::string l_RunFolder = RunFolder();
        m_Order["mode"] = m_Mode;
        WriteMediaOrder(l_RunFolder, m_Order);
        if (m_Mode == g_MediaDead) EndMedia(l_RunFolder, MEDIA_END::KILL);
    }

    std::string m_Mode;
    json m_Order = json::object();
};

} // namespace

int RunMediaCommand(int a_Count, char** a_Arguments) {
    return MEDIA_COMMAND().Run(a_Count, a_Arguments);
}

} // namespace BLADESIM
