// bladesim: brings a simulated blade up, runs a command in it and takes it down.
#include "sim/BladeFile.h"
#include "sim/Outside.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

namespace {

constexpr int g_BadUsage = 2;

constexpr char g_Description[] =
    "Brings a simulated blade up, runs COMMAND in it and takes it down.\n\n"
    "The blade has a controller that answers through /dev/ipmi0 and over the network, and ends with COMMAND: nothing of it is\n"
    "left. Needs root.";

constexpr char g_Footer[] =
    "In COMMAND's environment:\n"
    "  BLADESIM_RUN_DIR        folder of this run, gone with it\n"
    "  BLADESIM_LAN_HOST, BLADESIM_LAN_PORT, BLADESIM_LAN_USER, BLADESIM_LAN_PASSWORD, BLADESIM_CONSOLE_PORT\n\n"
    "Asking the controller beside COMMAND, from within:\n"
    "  ipmitool -I lan -H 127.0.0.1 -p 9001 -U ipmiusr -P test fru print\n\n"
    "Exit status: that of COMMAND (128 and the signal's number when a signal ended it), 2 bad usage, 3 the blade could not be\n"
    "brought up.";

class FORMATTER : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* /*a_App*/, std::string /*a_Name*/) const override {
        return "Usage: bladesim [--blade FILE] [--no-ipmi] [--verbose] -- COMMAND…\n";
    }
};

/// The blade's name or file is looked up here: whatever is wrong with it is said before anything is set up.
BLADESIM::OPTIONS Prepare(const std::string& a_Blade, BLADESIM::OPTIONS a_Options) {
    a_Options.m_Paths = BLADESIM::FindPaths();
    a_Options.m_Blade = BLADESIM::ReadBladeFile(BLADESIM::FindBlade(a_Options.m_Paths, a_Blade));
    return a_Options;
}

} // namespace

int main(int a_Count, char** a_Arguments) {
    CLI::App l_App(g_Description, "bladesim");
    BLADESIM::OPTIONS l_Options;
    std::string l_Blade = "front-board-only";
    l_App.formatter(std::make_shared<FORMATTER>());
    l_App.footer(g_Footer);
    l_App.set_version_flag("--version", "bladesim " BLADESIM_VERSION);
    l_App.add_option("--blade", l_Blade, "Blade file, or the name of one that came with bladesim")
        ->type_name("FILE")
        ->capture_default_str();
    l_App.add_flag("--no-ipmi", l_Options.m_NoIPMI, "Leave /dev/ipmi0 and the controller out");
    l_App.add_flag("--verbose", l_Options.m_Verbose,
                   "Say what is brought up, and every request and answer of /dev/ipmi0");
    l_App.add_option("COMMAND", l_Options.m_Command, "What to run, with its arguments")->required()->type_name("");
    try {
        l_App.parse(a_Count, a_Arguments);
    } catch (const CLI::ParseError& l_Error) {
        return l_App.exit(l_Error) == 0 ? 0 : g_BadUsage;
    }
    try {
        const int l_Status = BLADESIM::RunBlade(Prepare(l_Blade, std::move(l_Options)));
        // Not by return: the leak check of a sanitizer needs a /proc, which a bare chroot has for the inside only.
        std::_Exit(l_Status);
    } catch (const std::exception& l_Error) {
        std::fprintf(stderr, "bladesim: %s\n", l_Error.what());
        return BLADESIM::g_NotBroughtUp;
    }
}
