// bladesim's command line for bringing up a blade.
#include "sim/orders/CommandLine.h"

#include "sim/base/ExitStatus.h"
#include "sim/blade/FaultKinds.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace BLADESIM {
namespace {

constexpr char g_Usage[] =
    "Usage: bladesim [--blade FILE] [--no-ipmi | --ipmi WHO] [--timeout MS] [--verbose] -- COMMAND…\n"
    "       bladesim [--blade FILE] --dump-fru ID FILE\n"
    "In a blade:\n"
    "       bladesim fault add|list|clear|release …\n"
    "       bladesim controller stop|start|restart\n"
    "       bladesim show [requests|log|leds|controls|faults] [--json]\n"
    "       bladesim tool show|list|set|clear …\n"
    "       bladesim media show|set …\n"
    "       bladesim switch show|link|fail|clear …\n";

constexpr char g_Description[] =
    "Brings a simulated blade up, runs COMMAND in it and takes it down.\n\n"
    "The blade has a controller that answers through /dev/ipmi0 and over the network, and ends with COMMAND: nothing of it is\n"
    "left. What COMMAND writes elsewhere stays, as bmhost's storage does. Needs root.";

constexpr char g_WhoHelp[] =
    "Who works the controller's system interface:\n"
    "bridge   bladesim: /dev/ipmi0 in COMMAND is the blade's\n"
    "none     nobody: no controller, no /dev/ipmi0\n"
    "machine  this machine: its own /dev/ipmi0, and the controller that it has; all of the blade but the controller\n"
    "guest    a virtual machine that COMMAND starts: it connects to BLADESIM_VM_PORT";

constexpr char g_Footer[] =
    "In COMMAND's environment:\n"
    "  BLADESIM_RUN_DIR        folder of this run, gone with it\n"
    "  BLADESIM_LAN_HOST, BLADESIM_LAN_PORT, BLADESIM_LAN_USER, BLADESIM_LAN_PASSWORD, BLADESIM_CONSOLE_PORT\n"
    "  BLADESIM_IPMI           WHO of --ipmi\n"
    "  BLADESIM_VM_PORT        where a virtual machine finds the controller, with --ipmi guest\n\n"
    "Asking the controller beside COMMAND, from within:\n"
    "  ipmitool -I lan -H 127.0.0.1 -p 9001 -U ipmiusr -P test fru print\n\n"
    "Exit status: that of COMMAND (128 and the signal's number when a signal ended it), 2 bad usage, 3 the blade could not be\n"
    "brought up, or could not do what was asked of it.";

std::vector<std::string> NamesOfInterfaces() {
    std::vector<std::string> l_Names;
    for (const SYSTEM_INTERFACE_NAME& l_Interface : g_SystemInterfaces)
        l_Names.emplace_back(l_Interface.m_Name);
    return l_Names;
}

class FORMATTER : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* /*a_App*/, std::string /*a_Name*/) const override { return g_Usage; }
};

} // namespace

std::optional<int> ParseCommandLine(int a_Count, char** a_Arguments, COMMAND_LINE& a_Line) {
    CLI::App l_App(g_Description, "bladesim");
    OPTIONS& l_Options = a_Line.m_Options;
    int64_t l_TimeOut = l_Options.m_TimeOut.count();
    l_App.formatter(std::make_shared<FORMATTER>());
    l_App.footer(g_Footer);
    l_App.set_version_flag("--version", "bladesim " BLADESIM_VERSION);
    l_App.add_option("--blade", a_Line.m_Blade, "Blade file, or the name of one that came with bladesim")
        ->type_name("FILE")
        ->capture_default_str();
    std::string l_Who = NameOf(l_Options.m_IPMI);
    CLI::Option* const l_IPMI = l_App.add_option("--ipmi", l_Who, g_WhoHelp)
                                    ->type_name("WHO")
                                    ->check(CLI::IsMember(NamesOfInterfaces()))
                                    ->capture_default_str();
    l_App
        .add_flag_callback(
            "--no-ipmi", [&l_Who] { l_Who = NameOf(SYSTEM_INTERFACE::NONE); },
            "Leave /dev/ipmi0 and the controller out: --ipmi none")
        ->excludes(l_IPMI);
    l_App
        .add_option("--timeout", l_TimeOut,
                    "How long the driver of /dev/ipmi0 waits for a reply before it answers 0xC3; 0: for ever")
        ->type_name("MS")
        ->check(CLI::Range(int64_t{0}, int64_t{g_MaxFaultMilliseconds}))
        ->capture_default_str();
    l_App.add_flag("--verbose", l_Options.m_Verbose,
                   "Say what is brought up, and every request and answer of /dev/ipmi0");
    const CLI::Option* const l_Dump =
        l_App.add_option("--dump-fru", a_Line.m_DumpFru, "Write the inventory of FRU ID to FILE, and bring nothing up")
            ->type_name("ID FILE");
    l_App.add_option("COMMAND", l_Options.m_Command, "What to run, with its arguments")->type_name("");
    // Words behind "--" are COMMAND's own: the parser would take "[a,b]" for a list.
    char** const l_End = a_Arguments + a_Count;
    char** const l_Own =
        std::find_if(a_Arguments, l_End, [](const char* a_Word) { return a_Word == std::string_view("--"); });
    try {
        l_App.parse(static_cast<int>(l_Own - a_Arguments), a_Arguments);
        if (l_Own != l_End) l_Options.m_Command.insert(l_Options.m_Command.end(), l_Own + 1, l_End);
        if (l_Options.m_Command.empty() == l_Dump->empty()) {
            throw CLI::RequiredError(l_Dump->empty() ? "COMMAND" : "Either COMMAND or --dump-fru, not both,");
        }
    } catch (const CLI::ParseError& l_Error) {
        return l_App.exit(l_Error) == 0 ? 0 : g_BadUsage;
    }
    l_Options.m_IPMI = std::ranges::find(g_SystemInterfaces, l_Who, &SYSTEM_INTERFACE_NAME::m_Name)->m_Interface;
    l_Options.m_TimeOut = std::chrono::milliseconds(l_TimeOut);
    return std::nullopt;
}

} // namespace BLADESIM
