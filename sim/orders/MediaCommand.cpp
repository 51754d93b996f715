// bladesim's command for the media software: how it behaves towards the health monitor.
#include "sim/orders/MediaCommand.h"

#include "sim/orders/OrderCommand.h"
#include "sim/orders/ToolShow.h"
#include "sim/tools/MediaProcess.h"
#include "sim/tools/RunFiles.h"
#include "sim/vxpsim/MediaOrder.h"

#include <limits>
#include <optional>

namespace bladesim {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

std::string ModesHelp() {
    std::string text = "MODE is one of:\n";
    for (const MediaMode& mode : MediaModes) {
        std::string line = "  " + std::string(mode.m_name);
        line.resize(20, ' ');
        text += line + std::string(mode.m_description) + "\n";
    }
    return text + "\nExample: bladesim media set faulty --processor 7 --error-file boot.c";
}

ordered_json MediaState() {
    const std::string runFolder = RunFolder();
    const MediaOrder order = ReadMediaOrder(runFolder);
    const auto process = RunningMedia(runFolder);
    const std::string counts = ReadFile(runFolder + "/" + MediaCountsFile);
    ordered_json state = {{"running", process.has_value()},
                          {"process", process ? ordered_json(*process) : ordered_json()},
                          {"mode", order.m_mode->m_name},
                          {"delay_ms", order.m_delay},
                          {"board_requests", 0},
                          {"processor_requests", 0}};
    if (!counts.empty()) state.update(ordered_json::parse(counts));
    return state;
}

/// An option of `media set`, which becomes a key of the order.
struct NumberOption {
    const char* m_option;
    const char* m_key;
    const char* m_description;
    uint32_t m_max = std::numeric_limits<uint32_t>::max();
};

constexpr NumberOption NumberOptions[] = {
    {"--delay", "delay_ms", "Milliseconds before each answer", MaxMediaDelay},
    {"--board-state", "board_state", "State of the board; live: 1, or 0 with a sub-state of 4 or more"},
    {"--sub-state", "sub_state", "Sub-state of the board; live: 4 or more, or 0 in state 1"},
    {"--processor-state", "processor_state", "State of the processor; below 2 it has a fault"},
    {"--processor", "processor", "Number of the faulty processor"},
    {"--severity", "severity", "Severity of its fault"},
};

struct TextOption {
    const char* m_option;
    const char* m_key;
    const char* m_description;
};

constexpr TextOption TextOptions[] = {
    {"--error-file", "error_file", "Source file in which the fault was found"},
    {"--cause-file", "cause_file", "Source file of its cause"},
};

class MediaCommand : public OrderCommand {
public:
    MediaCommand() {
        CLI::App& media = AddCommand("media", "The media software: how it answers the health monitor");
        media.require_subcommand(1);
        CLI::App* const show = media.add_subcommand("show", "Show whether it runs, and what it was asked");
        AddJson(*show);
        Does(*show, [this] {
            const ordered_json state = MediaState();
            Print(m_json ? JsonLine(state) : FormatMedia(state));
        });
        AddSet(*media.add_subcommand("set", "Set how it behaves, from now on and after a restart"));
    }

private:
    void AddSet(CLI::App& set) {
        set.footer(ModesHelp());
        set.add_option("MODE", m_mode, "What it does with a request")
            ->required()
            ->type_name("")
            ->check([](const std::string& mode) { return FindMediaMode(mode) ? "" : mode + " is not a mode"; });
        for (const NumberOption& number : NumberOptions) {
            set.add_option_function<uint32_t>(
                   number.m_option, [this, &number](uint32_t value) { m_order[number.m_key] = value; },
                   number.m_description)
                ->type_name("N")
                ->check(CLI::Range(uint32_t{0}, number.m_max));
        }
        for (const TextOption& text : TextOptions) {
            set.add_option_function<std::string>(
                   text.m_option, [this, &text](const std::string& value) { m_order[text.m_key] = value; },
                   text.m_description)
                ->type_name("TEXT");
        }
        set.add_flag_callback(
            "--at-processor", [this] { m_order["at_processor"] = true; },
            "Answer the board as not live; the mode applies to the question about a processor");
        Does(set, [this] { Set(); });
    }

    /// Dead software does not read its orders.
    void Set() {
        const std::string runFolder = RunFolder();
        m_order["mode"] = m_mode;
        WriteMediaOrder(runFolder, m_order);
        if (m_mode == MediaDead) EndMedia(runFolder, MediaEnd::Kill);
    }

    std::string m_mode;
    json m_order = json::object();
};

} // namespace

int RunMediaCommand(int count, char** arguments) {
    return MediaCommand().Run(count, arguments);
}

} // namespace bladesim
