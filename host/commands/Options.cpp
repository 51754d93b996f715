// The command line: options, and the command's words.
#include "host/commands/Options.h"

#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <system_error>

namespace BMHOST {

namespace {

// What more its help tells.
enum class MORE { Nothing, Parameters, ParametersAndLife };

// Where it can be given.
enum class PLACE { Everywhere, CommandLine, Prompt };

struct COMMAND {
    const char* m_Name;
    const char* m_Usage;
    const char* m_Summary;
    const char* m_Details;
    MORE m_More;
    PLACE m_Place = PLACE::Everywhere;
};

constexpr const char* PARAMETER_HELP =
    "\nGROUP and ID are numbers (0x30200) or names, with or without their prefix, in any case (`bmhost groups`). An ID of\n"
    "the group's own may also be written as its column is shown: bay, run_status.\n"
    "VALUE is an integer (decimal or 0x…), true or false, or text; i: u: s: b: before it force the type 1, 2, 4 or 0.\n";

constexpr const char* LIFE_HELP =
    "\n`init` is called before and `fin` after; they show nothing and do not count for the exit status.\n";

constexpr COMMAND COMMANDS[] = {
    {"init", "init", "call Init", "The adaptor learns the hardware. Shows the result; 1 is success.\n", MORE::Nothing},
    {"start", "start", "call Start", "The adaptor brings the blade into service. Useful in a script, after init.\n",
     MORE::Nothing},
    {"stop", "stop", "call Stop", "The adaptor stops the media software. Useful in a script, after start.\n",
     MORE::Nothing},
    {"fin", "fin", "call Fin", "The adaptor releases what Init made. Useful in a script, at its end.\n", MORE::Nothing},
    {"read", "read GROUP [ID=VALUE ...]", "read one row", "Example: bmhost read AMC_TABLE bay=9\n",
     MORE::ParametersAndLife},
    {"table", "table GROUP", "read a whole table", "Example: bmhost --json table HARDWARE_BOARD\n",
     MORE::ParametersAndLife},
    {"write", "write GROUP [ID=VALUE ...] -- [ID=VALUE ...]", "write values; keys before --, values after",
     "Example: bmhost write AMC_TABLE bay=3 -- run_status=4\n", MORE::ParametersAndLife},
    {"script", "script FILE|-", "make the calls of a file, or of standard input, in one process",
     "One call a line: init, start, stop, fin, read ..., table ..., write ..., `sleep MS`, `wait-event MS` (shows the next\n"
     "event, or says that none came). '#' begins a comment; '…' or \"…\" keep blanks in a value. A line that cannot be\n"
     "meant ends the script with status 2; a call that does not return 1 does not end it.\n"
     "Example: printf 'init\\ntable HARDWARE_BOARD\\nfin\\n' | bmhost script -\n",
     MORE::Parameters, PLACE::CommandLine},
    {"inventory", "inventory", "show the blade's hardware",
     "Board, modules and what they carry, as tables for people; status 1 when the board's table cannot be read.\n",
     MORE::Nothing},
    {"leds", "leds", "show the blade's LEDs",
     "Every LED of baseboard, AMCs and RTM, read one by one: an LED that cannot be read does not hide the others, but makes\n"
     "the status 1.\n",
     MORE::Nothing},
    {"led", "led set BAY LED ACTION [--color C] ...", "set one LED",
     "BAY is board, rtm or a bay from 1 to 9. LED is hot-swap (1), out-of-service (2), health (3) or 4.\n"
     "ACTION is on, off, blink or local: back under local control. Blinking is 500 ms on and 500 ms off unless --on MS and\n"
     "--off MS say otherwise; a controller is told tens of milliseconds from 100 to 2500.\n"
     "--color C is white, red, green, blue, amber or orange. Without it the adaptor chooses one by a rule of its own.\n"
     "Of the modules the adaptor sets the LEDs of the first AMC only, whatever the bay: standard error says so.\n"
     "Shows the LED as it is read afterwards. Status 0 when it was set.\n"
     "Example: bmhost led set 1 health blink --color amber --on 200 --off 800\n",
     MORE::Nothing},
    {"dsp", "dsp [set-ip N ADDRESS]", "show the DSPs and their addresses",
     "Every DSP that the AMCs have: its number across the blade, where it is, MAC and IP address.\n"
     "dsp set-ip N ADDRESS gives DSP N (1 to 32) another IP address, and shows it as it is read afterwards.\n"
     "Status 0 when there are DSPs and each has its addresses; when the address was stored.\n"
     "Example: bmhost dsp set-ip 5 192.168.0.25\n",
     MORE::Nothing},
    {"switch", "switch [enable|disable PORT]", "show the external ports of the Ethernet switch",
     "Their state as the adaptor keeps it, and the links as the switch has them.\n"
     "switch enable PORT and switch disable PORT set port 1 to 4, and show it as it is read afterwards.\n"
     "Status 0 when there are ports and every link is known; when the port was set and its state stored.\n"
     "Example: bmhost switch disable 2\n",
     MORE::Nothing},
    {"pstn", "pstn", "show what the PCI driver was told of the PSTN",
     "The records of the simulated blade's driver file, in their order. Needs no adaptor, but a blade: bladesim -- ...\n",
     MORE::Nothing},
    {"status", "status", "show run status and LEDs of the blade",
     "Run status, out-of-service and health LED of baseboard, AMCs and RTM, and the last firmware upgrade. The run status\n"
     "is what this process's adaptor gave: `status` alone knows none, in a `shell` it follows `start`. The LEDs are the\n"
     "hardware's. With --json one line.\n"
     "Status 0 when board, modules and upgrade could be read, no module has failed (5), and the last upgrade has not. LEDs\n"
     "do not count.\n",
     MORE::Nothing},
    {"firmware", "firmware update --target T [--bay N] FILE [--dry-run]", "upgrade firmware; firmware show: its state",
     "--target is board, amc (with --bay, 1 to 8) or rtm. FILE has to be a regular file that is not empty; the adaptor is\n"
     "given its absolute path. Follows the upgrade to its end and shows for how long it runs; when it fails, standard error\n"
     "has what the firmware tool said. Status 0 when it passed. A signal does not end bmhost before the tool has ended;\n"
     "the third one does, and leaves the tool alone with it. Ctrl-C and the hangup of the terminal reach the tool as well.\n"
     "--dry-run checks the words and the file, and shows what would be written.\n"
     "firmware show shows target and state of the last upgrade of this process's adaptor.\n"
     "Example: bmhost firmware update --target amc --bay 3 image.bin\n",
     MORE::Nothing},
    {"run", "run", "be a resident host until Ctrl-C or SIGTERM",
     "Calls init and start, tells events and health as they happen, one line each (with --json a JSON line), and at SIGINT,\n"
     "SIGTERM or SIGHUP calls stop and fin. A tool that runs is let end first; Ctrl-C reaches it as well, as in a shell.\n"
     "The third signal ends bmhost at once. What the tools printed is shown when start or stop fails, or a fault is found;\n"
     "the log is not: --log FILE keeps it, --log-level 3 shows both.\n"
     "Status 0 when every call returned 1 and no fault of the health was found. Ends by itself when init or start fails.\n",
     MORE::Nothing, PLACE::CommandLine},
    {"shell", "shell", "make calls and give commands at a prompt",
     "The calls of a script and the commands for people, in one process; help [COMMAND] lists or explains them, quit or\n"
     "Ctrl-D ends. On a terminal with history and completion (Tab). init is called when a command, a read, a table or a\n"
     "write needs it; start does not. At the end what was started is stopped, and fin called. Errors end nothing.\n"
     "Without a terminal: plain lines, no prompt. Status 0 when nothing went wrong.\n"
     "Example: printf 'init\\nstart\\nstatus\\n' | bmhost shell\n",
     MORE::Parameters, PLACE::CommandLine},
    {"groups", "groups", "list the parameter groups and their parameters", "Needs no adaptor.\n", MORE::Nothing},
    {"completions", "completions WORD ...", "list what the last word may become",
     "For the completion of a shell. WORD ... is the command and its words, the last one begun or empty.\n"
     "Example: bmhost completions write amc_table run\n",
     MORE::Nothing, PLACE::CommandLine},
    {"sleep", "sleep MS", "wait", "Shows nothing.\n", MORE::Nothing, PLACE::Prompt},
    {"wait-event", "wait-event MS", "show the oldest event not yet shown",
     "Waits up to that long for one, and says it when none came.\n", MORE::Nothing, PLACE::Prompt},
    {"help", "help [COMMAND]", "list the commands, or explain one", "", MORE::Nothing, PLACE::Prompt},
    {"quit", "quit", "end the shell", "So do exit, and Ctrl-D. What was started is stopped, and fin called.\n",
     MORE::Nothing, PLACE::Prompt},
};

const COMMAND* FindCommand(const std::string& a_Name, PLACE a_NotIn) {
    const auto* l_Found = std::find_if(std::begin(COMMANDS), std::end(COMMANDS), [&](const COMMAND& a_Command) {
        return a_Name == a_Command.m_Name && a_Command.m_Place != a_NotIn;
    });
    return l_Found != std::end(COMMANDS) ? l_Found : nullptr;
}

std::string CommandHelp(const COMMAND& a_Command) {
    return std::string("Usage: ") + (a_Command.m_Place != PLACE::Prompt ? "bmhost [OPTIONS] " : "") +
           a_Command.m_Usage + "\n\n" + a_Command.m_Summary + "\n\n" + a_Command.m_Details +
           (a_Command.m_More != MORE::Nothing ? PARAMETER_HELP : "") +
           (a_Command.m_More == MORE::ParametersAndLife ? LIFE_HELP : "");
}

// All but those that can only be given elsewhere.
std::string CommandList(PLACE a_NotIn) {
    std::string l_Text;
    for (const COMMAND& l_Command : COMMANDS) {
        if (l_Command.m_Place == a_NotIn) continue;
        const std::string l_Usage = l_Command.m_Usage;
        l_Text += "  " + l_Usage + std::string(l_Usage.size() < 46 ? 46 - l_Usage.size() : 1, ' ') +
                  l_Command.m_Summary + "\n";
    }
    return l_Text;
}

std::string Footer() {
    return "Commands (bmhost COMMAND --help tells more):\n" + CommandList(PLACE::Prompt) +
           "\nExit status: 0 every call returned 1, 1 some call did not, 2 bad usage, 3 the adaptor could not be loaded.\n";
}

// What is not there yet will be made; what is no folder would silently keep nothing.
std::string CheckFolder(const std::string& a_Path) {
    std::error_code l_Unknown;
    const bool l_Good = !std::filesystem::exists(a_Path, l_Unknown) || std::filesystem::is_directory(a_Path, l_Unknown);
    return l_Good ? "" : "'" + a_Path + "' is no folder";
}

} // namespace

std::vector<std::string> PromptCommands() {
    std::vector<std::string> l_Names;
    for (const COMMAND& l_Command : COMMANDS) {
        if (l_Command.m_Place != PLACE::CommandLine) l_Names.emplace_back(l_Command.m_Name);
    }
    return l_Names;
}

std::string HelpText(const std::string& a_Command) {
    if (a_Command.empty()) return CommandList(PLACE::CommandLine);
    if (const COMMAND* const l_Command = FindCommand(a_Command, PLACE::CommandLine)) return CommandHelp(*l_Command);
    throw USAGE_ERROR("no help for '" + a_Command + "': expected a command that `help` lists");
}

// In $XDG_STATE_HOME, or ~/.local/state.
std::string StateFile(const std::string& a_Name) {
    if (const char* l_State = getenv("XDG_STATE_HOME"); l_State != nullptr && l_State[0] != '\0') {
        return std::string(l_State) + "/" + a_Name;
    }
    const char* l_Home = getenv("HOME");
    return std::string(l_Home != nullptr ? l_Home : "") + "/.local/state/" + a_Name;
}

OPTIONS ParseOptions(int a_Argc, const char* const* a_Argv) {
    OPTIONS l_Options;
    l_Options.m_Storage = StateFile("bmhost");
    CLI::App l_App("Loads an adaptor as a board manager does, and makes the calls that you give.", "bmhost");
    l_App.footer(Footer());
    l_App.set_version_flag("--version", "bmhost " BMHOST_VERSION);
    l_App.add_option("--adaptor", l_Options.m_Adaptor, "the adaptor's library; default: the one installed with bmhost")
        ->type_name("FILE");
    l_App.add_option("--mode", l_Options.m_Mode, "the host's mode; in modes 1 and 3 the adaptor touches the board")
        ->type_name("N")
        ->capture_default_str();
    l_App.add_option("--log-level", l_Options.m_LogLevel, "the global log level; 3 shows traces")
        ->type_name("N")
        ->capture_default_str();
    l_App.add_option("--log", l_Options.m_LogFile, "write the log to this file as well")->type_name("FILE");
    l_App.add_option("--storage", l_Options.m_Storage, "the folder of the host's storage")
        ->type_name("DIR")
        ->check(CheckFolder)
        ->capture_default_str();
    l_App.add_flag("--json", l_Options.m_Json, "one JSON line a call; what the adaptor prints goes to standard error");
    l_App
        .add_option("--notice-after", l_Options.m_NoticeAfter,
                    "milliseconds after which standard error tells of a call that does not return")
        ->type_name("MS")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
        ->capture_default_str();
    l_App.prefix_command();
    try {
        l_App.parse(a_Argc, a_Argv);
    } catch (const CLI::CallForHelp&) {
        l_Options.m_Answer = l_App.help();
        const std::string l_Usage = "[OPTIONS]"; // the library knows nothing of our commands
        l_Options.m_Answer.replace(l_Options.m_Answer.find(l_Usage), l_Usage.size(), l_Usage + " COMMAND ...");
        return l_Options;
    } catch (const CLI::CallForVersion& l_Version) {
        l_Options.m_Answer = std::string(l_Version.what()) + "\n";
        return l_Options;
    } catch (const CLI::ParseError& l_Error) {
        throw USAGE_ERROR(l_Error.what());
    }
    l_Options.m_Command = l_App.remaining();
    if (l_Options.m_Command.empty()) throw USAGE_ERROR("no command: expected one of those that `bmhost --help` lists");
    const COMMAND* l_Command = FindCommand(l_Options.m_Command[0], PLACE::Prompt);
    if (l_Command == nullptr) {
        throw USAGE_ERROR((l_Options.m_Command[0].starts_with("-") ? "unknown option '" : "unknown command '") +
                          l_Options.m_Command[0] + "': expected one of those that `bmhost --help` lists");
    }
    // Half a command line may have any words.
    if (l_Options.m_Command[0] == "completions" && l_Options.m_Command.size() > 2) return l_Options;
    // No word of a command looks like an option, but for those with options of their own.
    const bool l_OwnOptions = l_Options.m_Command[0] == "led" || l_Options.m_Command[0] == "firmware";
    for (auto l_Word = l_Options.m_Command.begin() + 1; l_Word != l_Options.m_Command.end(); ++l_Word) {
        if (*l_Word == "--help" || *l_Word == "-h") {
            l_Options.m_Answer = CommandHelp(*l_Command);
        } else if (!l_OwnOptions && l_Word->size() > 2 && l_Word->starts_with("--")) {
            throw USAGE_ERROR("'" + *l_Word + "' after the command: options stand before it");
        }
    }
    return l_Options;
}

} // namespace BMHOST
