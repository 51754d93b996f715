// bladesim's command line for bringing up a blade.
#include "sim/orders/CommandLine.h"

#include "sim/base/ExitStatus.h"
#include "sim/blade/FaultKinds.h"
#include "sim/life/Register.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bladesim {
namespace {

constexpr char Usage[] =
    "Usage: bladesim [--blade FILE] [--no-ipmi | --ipmi WHO] [--timeout MS | --timeout-when-lost] [--verbose] -- COMMAND…\n"
    "       bladesim [--record FILE] [--replay FILE] [--blade FILE] -- COMMAND…\n"
    "       bladesim [--blade FILE] --dump-fru ID FILE\n"
    "       bladesim list [--json]\n"
    "       bladesim attach [NAME] [-- COMMAND…]\n"
    "       bladesim capture [--anonymise] FILE\n"
    "       bladesim shelf [N|FILE] -- COMMAND…\n"
    "In a blade:\n"
    "       bladesim fault add|list|clear|release …\n"
    "       bladesim controller stop|start|restart\n"
    "       bladesim show [requests|log|leds|controls|faults] [--json]\n"
    "       bladesim tool show|list|set|clear …\n"
    "       bladesim media show|set …\n"
    "       bladesim switch show|link|fail|clear …\n";

constexpr char Description[] =
    "Brings up a simulated blade, runs COMMAND in it and takes it down.\n\n"
    "The blade's controller answers through /dev/ipmi0 and over the network. When COMMAND ends, nothing of the blade is\n"
    "left, and nothing of bmhost's storage without --keep. Whatever else COMMAND writes elsewhere stays. An ordinary user is\n"
    "root in his blade.";

constexpr char WhoHelp[] =
    "Who serves the controller's system interface:\n"
    "bridge   bladesim: COMMAND finds the blade's /dev/ipmi0\n"
    "none     nobody: no controller, no /dev/ipmi0\n"
    "denied   nobody may: the controller is up, but opening /dev/ipmi0 fails with EACCES\n"
    "machine  this machine: COMMAND uses its /dev/ipmi0; everything comes up except the controller\n"
    "guest    a virtual machine that COMMAND starts: it connects to BLADESIM_VM_PORT";

constexpr char Footer[] =
    "In COMMAND's environment:\n"
    "  BLADESIM_RUN_DIR        folder of this run, removed after it\n"
    "  BLADESIM_KEEP           DIR of --keep\n"
    "  BLADESIM_LAN_HOST, BLADESIM_LAN_PORT, BLADESIM_LAN_USER, BLADESIM_LAN_PASSWORD, BLADESIM_CONSOLE_PORT\n"
    "  BLADESIM_IPMI           WHO of --ipmi\n"
    "  BLADESIM_VM_PORT        where a virtual machine finds the controller, with --ipmi guest\n\n"
    "To ask the controller over the network, from within COMMAND:\n"
    "  ipmitool -I lan -H 127.0.0.1 -p 9001 -U ipmiusr -P test fru print\n\n"
    "Exit status: that of COMMAND (128 and the signal's number when a signal ended it), 2 bad usage, 3 the blade could not be\n"
    "brought up, or could not do what was asked of it.";

std::vector<std::string> NamesOfInterfaces() {
    std::vector<std::string> names;
    for (const SystemInterfaceName& interface : SystemInterfaces)
        names.emplace_back(interface.m_name);
    return names;
}

class Formatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override { return Usage; }
};

} // namespace

std::optional<int> ParseCommandLine(int count, char** arguments, CommandLine& line) {
    CLI::App app(Description, "bladesim");
    Options& options = line.m_options;
    int64_t timeOut = options.m_timeOut.count();
    app.formatter(std::make_shared<Formatter>());
    app.footer(Footer);
    app.set_version_flag("--version", "bladesim " BLADESIM_VERSION);
    app.add_option("--blade", line.m_blade, "Blade file, or the name of one that came with bladesim")
        ->type_name("FILE")
        ->capture_default_str();
    std::string who = NameOf(options.m_ipmi);
    CLI::Option* const ipmi = app.add_option("--ipmi", who, WhoHelp)
                                  ->type_name("WHO")
                                  ->check(CLI::IsMember(NamesOfInterfaces()))
                                  ->capture_default_str();
    app.add_flag_callback(
           "--no-ipmi", [&who] { who = NameOf(SystemInterface::None); },
           "Without /dev/ipmi0 and controller: --ipmi none")
        ->excludes(ipmi);
    CLI::Option* const timed =
        app.add_option("--timeout", timeOut,
                       "How long the driver of /dev/ipmi0 waits for a reply before it answers 0xC3; 0: for ever")
            ->type_name("MS")
            ->check(CLI::Range(int64_t{0}, int64_t{MaxFaultMilliseconds}))
            ->capture_default_str();
    app.add_flag("--timeout-when-lost", options.m_timeOutWhenLost,
                 "It answers 0xC3 as soon as no reply can come any more, and waits for any other reply")
        ->excludes(timed);
    app.add_flag("--verbose", options.m_verbose, "Say what is brought up, and every request and answer of /dev/ipmi0");
    app.add_option("--name", options.m_name, "Name of the running blade, for attach; by default that of the blade file")
        ->type_name("NAME")
        ->check([](const std::string& name) {
            return IsBladeName(name) ? "" : name + ": a name has letters, digits, dots, dashes and underscores";
        });
    app.add_option("--keep", options.m_keep, "Folder for what bmhost stores, which otherwise goes with the blade")
        ->type_name("DIR");
    app.add_option("--record", options.m_record, "Keep every request and answer of /dev/ipmi0, with its time")
        ->type_name("FILE");
    app.add_option("--replay", line.m_replay, "Answer from what --record kept, instead of a controller")
        ->type_name("FILE");
    const CLI::Option* const dump =
        app.add_option("--dump-fru", line.m_dumpFru, "Write the inventory of FRU ID to FILE, and bring nothing up")
            ->type_name("ID FILE");
    app.add_option("COMMAND", options.m_command, "What to run, with its arguments")->type_name("");
    // Words after "--" are COMMAND's own: the parser would take "[a,b]" for a list.
    char** const end = arguments + count;
    char** const own = std::find_if(arguments, end, [](const char* word) { return word == std::string_view("--"); });
    try {
        app.parse(static_cast<int>(own - arguments), arguments);
        if (own != end) options.m_command.insert(options.m_command.end(), own + 1, end);
        if (options.m_command.empty() == dump->empty()) {
            throw CLI::RequiredError(dump->empty() ? "COMMAND" : "Either COMMAND or --dump-fru, not both,");
        }
        const bool isOurs = who == NameOf(SystemInterface::Bridge);
        if (!isOurs && !options.m_record.empty()) throw CLI::ValidationError("--record", "needs --ipmi bridge");
        if (!isOurs && !line.m_replay.empty()) throw CLI::ValidationError("--replay", "needs --ipmi bridge");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : BadUsage;
    }
    options.m_ipmi = std::ranges::find(SystemInterfaces, who, &SystemInterfaceName::m_name)->m_interface;
    if (!options.m_keep.empty()) options.m_keep = std::filesystem::absolute(options.m_keep);
    options.m_timeOut = std::chrono::milliseconds(timeOut);
    return std::nullopt;
}

} // namespace bladesim
