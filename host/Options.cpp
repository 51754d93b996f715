// The command line: options, and the command's words.
#include "host/Options.h"

#include "host/Error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace BMHOST {

namespace {

// What more its help tells.
enum class MORE { Nothing, Parameters, ParametersAndLife };

struct COMMAND {
    const char* m_Name;
    const char* m_Usage;
    const char* m_Summary;
    const char* m_Details;
    MORE m_More;
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
     MORE::Parameters},
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
    {"groups", "groups", "list the parameter groups and their parameters", "Needs no adaptor.\n", MORE::Nothing},
};

const COMMAND* FindCommand(const std::string& a_Name) {
    const auto* l_Found = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                       [&](const COMMAND& a_Command) { return a_Name == a_Command.m_Name; });
    return l_Found != std::end(COMMANDS) ? l_Found : nullptr;
}

std::string CommandHelp(const COMMAND& a_Command) {
    return std::string("Usage: bmhost [OPTIONS] ") + a_Command.m_Usage + "\n\n" + a_Command.m_Summary + "\n\n" +
           a_Command.m_Details + (a_Command.m_More != MORE::Nothing ? PARAMETER_HELP : "") +
           (a_Command.m_More == MORE::ParametersAndLife ? LIFE_HELP : "");
}

std::string Footer() {
    std::string l_Text = "Commands (bmhost COMMAND --help tells more):\n";
    for (const COMMAND& l_Command : COMMANDS) {
        const std::string l_Usage = l_Command.m_Usage;
        l_Text += "  " + l_Usage + std::string(l_Usage.size() < 46 ? 46 - l_Usage.size() : 1, ' ') +
                  l_Command.m_Summary + "\n";
    }
    return l_Text +
           "\nExit status: 0 every call returned 1, 1 some call did not, 2 bad usage, 3 the adaptor could not be loaded.\n";
}

// $XDG_STATE_HOME, or ~/.local/state.
std::string StateFolder() {
    if (const char* l_State = getenv("XDG_STATE_HOME"); l_State != nullptr && l_State[0] != '\0') {
        return std::string(l_State) + "/bmhost";
    }
    const char* l_Home = getenv("HOME");
    return std::string(l_Home != nullptr ? l_Home : "") + "/.local/state/bmhost";
}

} // namespace

OPTIONS ParseOptions(int a_Argc, const char* const* a_Argv) {
    OPTIONS l_Options;
    l_Options.m_Storage = StateFolder();
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
    const COMMAND* l_Command = FindCommand(l_Options.m_Command[0]);
    if (l_Command == nullptr) {
        throw USAGE_ERROR((l_Options.m_Command[0].starts_with("-") ? "unknown option '" : "unknown command '") +
                          l_Options.m_Command[0] + "': expected one of those that `bmhost --help` lists");
    }
    // No word of a command looks like an option, but for the one with options of its own.
    const bool l_OwnOptions = l_Options.m_Command[0] == "led";
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
