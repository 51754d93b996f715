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

namespace bmhost {

namespace {

// What more its help tells.
enum class More { Nothing, Parameters, ParametersAndLife };

// Where it can be given.
enum class Place { Everywhere, CommandLine, Prompt };

struct Command {
    const char* m_name;
    const char* m_usage;
    const char* m_summary;
    const char* m_details;
    More m_more;
    Place m_place = Place::Everywhere;
};

constexpr const char* ParameterHelp =
    "\nGROUP and ID are numbers (0x30200) or names, with or without their prefix, in any case (`bmhost groups`). An ID of\n"
    "the group's own may also be written as its column is shown: bay, run_status.\n"
    "VALUE is an integer (decimal or 0x…), true or false, or text; i: u: s: b: before it force the type 1, 2, 4 or 0.\n";

constexpr const char* LifeHelp =
    "\n`init` is called before and `fin` after; they show nothing and do not count for the exit status.\n";

constexpr Command Commands[] = {
    {"init", "init", "call Init", "The adaptor learns the hardware. Shows the result; 1 is success.\n", More::Nothing},
    {"start", "start", "call Start", "The adaptor brings the blade into service. Useful in a script, after init.\n",
     More::Nothing},
    {"stop", "stop", "call Stop", "The adaptor stops the media software. Useful in a script, after start.\n",
     More::Nothing},
    {"fin", "fin", "call Fin", "The adaptor releases what Init made. Useful in a script, at its end.\n", More::Nothing},
    {"read", "read GROUP [ID=VALUE ...]", "read one row", "Example: bmhost read AMC_TABLE bay=9\n",
     More::ParametersAndLife},
    {"table", "table GROUP", "read a whole table", "Example: bmhost --json table HARDWARE_BOARD\n",
     More::ParametersAndLife},
    {"write", "write GROUP [ID=VALUE ...] -- [ID=VALUE ...]", "write values; keys before --, values after",
     "Example: bmhost write AMC_TABLE bay=3 -- run_status=4\n", More::ParametersAndLife},
    {"script", "script FILE|-", "make the calls of a file, or of standard input, in one process",
     "One call a line: init, start, stop, fin, read ..., table ..., write ..., `sleep MS`, `wait-event MS` (shows the next\n"
     "event, or says that none came). '#' begins a comment; '…' or \"…\" keep blanks in a value. A line that cannot be\n"
     "meant ends the script with status 2; a call that does not return 1 does not end it.\n"
     "Example: printf 'init\\ntable HARDWARE_BOARD\\nfin\\n' | bmhost script -\n",
     More::Parameters, Place::CommandLine},
    {"inventory", "inventory", "show the blade's hardware",
     "Board, modules and what they carry, as tables for people; status 1 when the board's table cannot be read.\n",
     More::Nothing},
    {"leds", "leds", "show the blade's LEDs",
     "Every LED of baseboard, AMCs and RTM, read one by one: an LED that cannot be read does not hide the others, but makes\n"
     "the status 1.\n",
     More::Nothing},
    {"led", "led set BAY LED ACTION [--color C] ...", "set one LED",
     "BAY is board, rtm or a bay from 1 to 9. LED is hot-swap (1), out-of-service (2), health (3) or 4.\n"
     "ACTION is on, off, blink or local: back under local control. Blinking is 500 ms on and 500 ms off unless --on MS and\n"
     "--off MS say otherwise; a controller is told tens of milliseconds from 100 to 2500.\n"
     "--color C is white, red, green, blue, amber or orange. Without it the adaptor chooses one by a rule of its own.\n"
     "Of the modules the adaptor sets the LEDs of the first AMC only, whatever the bay: standard error says so.\n"
     "Shows the LED as it is read afterwards. Status 0 when it was set.\n"
     "Example: bmhost led set 1 health blink --color amber --on 200 --off 800\n",
     More::Nothing},
    {"dsp", "dsp [set-ip N ADDRESS]", "show the DSPs and their addresses",
     "Every DSP that the AMCs have: its number across the blade, where it is, MAC and IP address.\n"
     "dsp set-ip N ADDRESS gives DSP N (1 to 32) another IP address, and shows it as it is read afterwards.\n"
     "Status 0 when there are DSPs and each has its addresses; when the address was stored.\n"
     "Example: bmhost dsp set-ip 5 192.168.0.25\n",
     More::Nothing},
    {"switch", "switch [enable|disable PORT]", "show the external ports of the Ethernet switch",
     "Their state as the adaptor keeps it, and the links as the switch has them.\n"
     "switch enable PORT and switch disable PORT set port 1 to 4, and show it as it is read afterwards.\n"
     "Status 0 when there are ports and every link is known; when the port was set and its state stored.\n"
     "Example: bmhost switch disable 2\n",
     More::Nothing},
    {"pstn", "pstn", "show what the PCI driver was told of the PSTN",
     "The records of the simulated blade's driver file, in their order. Needs no adaptor, but a blade: bladesim -- ...\n",
     More::Nothing},
    {"status", "status", "show run status and LEDs of the blade",
     "Run status, out-of-service and health LED of baseboard, AMCs and RTM, and the last firmware upgrade. The run status\n"
     "is what this process's adaptor gave: `status` alone knows none, in a `shell` it follows `start`. The LEDs are the\n"
     "hardware's. With --json one line.\n"
     "Status 0 when board, modules and upgrade could be read, no module has failed (5), and the last upgrade has not. LEDs\n"
     "do not count.\n",
     More::Nothing},
    {"firmware", "firmware update --target T [--bay N] FILE [--dry-run]", "upgrade firmware; firmware show: its state",
     "--target is board, amc (with --bay, 1 to 8) or rtm. FILE has to be a regular file that is not empty; the adaptor is\n"
     "given its absolute path. Follows the upgrade to its end and shows for how long it runs; when it fails, standard error\n"
     "has what the firmware tool said. Status 0 when it passed. A signal does not end bmhost before the tool has ended;\n"
     "the third one does, and leaves the tool alone with it. Ctrl-C and the hangup of the terminal reach the tool as well.\n"
     "--dry-run checks the words and the file, and shows what would be written.\n"
     "firmware show shows target and state of the last upgrade of this process's adaptor.\n"
     "Example: bmhost firmware update --target amc --bay 3 image.bin\n",
     More::Nothing},
    {"run", "run", "be a resident host until Ctrl-C or SIGTERM",
     "Calls init and start, tells events and health as they happen, one line each (with --json a JSON line), and at SIGINT,\n"
     "SIGTERM or SIGHUP calls stop and fin. A tool that runs is let end first; Ctrl-C reaches it as well, as in a shell.\n"
     "The third signal ends bmhost at once. What the tools printed is shown when start or stop fails, or a fault is found;\n"
     "the log is not: --log FILE keeps it, --log-level 3 shows both.\n"
     "Status 0 when every call returned 1 and no fault of the health was found. Ends by itself when init or start fails.\n",
     More::Nothing, Place::CommandLine},
    {"shell", "shell", "make calls and give commands at a prompt",
     "The calls of a script and the commands for people, in one process; help [COMMAND] lists or explains them, quit or\n"
     "Ctrl-D ends. On a terminal with history and completion (Tab). init is called when a command, a read, a table or a\n"
     "write needs it; start does not. At the end what was started is stopped, and fin called. Errors end nothing.\n"
     "Without a terminal: plain lines, no prompt. Status 0 when nothing went wrong.\n"
     "Example: printf 'init\\nstart\\nstatus\\n' | bmhost shell\n",
     More::Parameters, Place::CommandLine},
    {"groups", "groups", "list the parameter groups and their parameters", "Needs no adaptor.\n", More::Nothing},
    {"completions", "completions WORD ...", "list what the last word may become",
     "For the completion of a shell. WORD ... is the command and its words, the last one begun or empty.\n"
     "Example: bmhost completions write amc_table run\n",
     More::Nothing, Place::CommandLine},
    {"sleep", "sleep MS", "wait", "Shows nothing.\n", More::Nothing, Place::Prompt},
    {"wait-event", "wait-event MS", "show the oldest event not yet shown",
     "Waits up to that long for one, and says it when none came.\n", More::Nothing, Place::Prompt},
    {"help", "help [COMMAND]", "list the commands, or explain one", "", More::Nothing, Place::Prompt},
    {"quit", "quit", "end the shell", "So do exit, and Ctrl-D. What was started is stopped, and fin called.\n",
     More::Nothing, Place::Prompt},
};

const Command* FindCommand(const std::string& name, Place notIn) {
    const auto* found = std::find_if(std::begin(Commands), std::end(Commands), [&](const Command& command) {
        return name == command.m_name && command.m_place != notIn;
    });
    return found != std::end(Commands) ? found : nullptr;
}

std::string CommandHelp(const Command& command) {
    return std::string("Usage: ") + (command.m_place != Place::Prompt ? "bmhost [OPTIONS] " : "") + command.m_usage +
           "\n\n" + command.m_summary + "\n\n" + command.m_details +
           (command.m_more != More::Nothing ? ParameterHelp : "") +
           (command.m_more == More::ParametersAndLife ? LifeHelp : "");
}

// All but those that can only be given elsewhere.
std::string CommandList(Place notIn) {
    std::string text;
    for (const Command& found : Commands) {
        if (found.m_place == notIn) continue;
        const std::string usage = found.m_usage;
        text += "  " + usage + std::string(usage.size() < 46 ? 46 - usage.size() : 1, ' ') + found.m_summary + "\n";
    }
    return text;
}

std::string Footer() {
    return "Commands (bmhost COMMAND --help tells more):\n" + CommandList(Place::Prompt) +
           "\nExit status: 0 every call returned 1, 1 some call did not, 2 bad usage, 3 the adaptor could not be loaded.\n";
}

// What is not there yet will be made; what is no folder would silently keep nothing.
std::string CheckFolder(const std::string& path) {
    std::error_code unknown;
    const bool good = !std::filesystem::exists(path, unknown) || std::filesystem::is_directory(path, unknown);
    return good ? "" : "'" + path + "' is no folder";
}

} // namespace

std::vector<std::string> PromptCommands() {
    std::vector<std::string> names;
    for (const Command& found : Commands) {
        if (found.m_place != Place::CommandLine) names.emplace_back(found.m_name);
    }
    return names;
}

std::string HelpText(const std::string& command) {
    if (command.empty()) return CommandList(Place::CommandLine);
    if (const Command* const found = FindCommand(command, Place::CommandLine)) return CommandHelp(*found);
    throw UsageError("no help for '" + command + "': expected a command that `help` lists");
}

// In $XDG_STATE_HOME, or ~/.local/state.
std::string StateFile(const std::string& name) {
    if (const char* state = getenv("XDG_STATE_HOME"); state != nullptr && state[0] != '\0') {
        return std::string(state) + "/" + name;
    }
    const char* home = getenv("HOME");
    return std::string(home != nullptr ? home : "") + "/.local/state/" + name;
}

Options ParseOptions(int argc, const char* const* argv) {
    Options options;
    options.m_storage = StateFile("bmhost");
    CLI::App app("Loads an adaptor as a board manager does, and makes the calls that you give.", "bmhost");
    app.footer(Footer());
    app.set_version_flag("--version", "bmhost " BMHOST_VERSION);
    app.add_option("--adaptor", options.m_adaptor, "the adaptor's library; default: the one installed with bmhost")
        ->type_name("FILE");
    app.add_option("--mode", options.m_mode, "the host's mode; in modes 1 and 3 the adaptor touches the board")
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--log-level", options.m_logLevel, "the global log level; 3 shows traces")
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--log", options.m_logFile, "write the log to this file as well")->type_name("FILE");
    app.add_option("--storage", options.m_storage, "the folder of the host's storage")
        ->type_name("DIR")
        ->check(CheckFolder)
        ->capture_default_str();
    app.add_flag("--json", options.m_json, "one JSON line a call; what the adaptor prints goes to standard error");
    app.add_option("--notice-after", options.m_noticeAfter,
                   "milliseconds after which standard error tells of a call that does not return")
        ->type_name("MS")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
        ->capture_default_str();
    app.prefix_command();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        options.m_answer = app.help();
        const std::string usage = "[OPTIONS]"; // the library knows nothing of our commands
        options.m_answer.replace(options.m_answer.find(usage), usage.size(), usage + " COMMAND ...");
        return options;
    } catch (const CLI::CallForVersion& version) {
        options.m_answer = std::string(version.what()) + "\n";
        return options;
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    options.m_command = app.remaining();
    if (options.m_command.empty()) throw UsageError("no command: expected one of those that `bmhost --help` lists");
    const Command* found = FindCommand(options.m_command[0], Place::Prompt);
    if (found == nullptr) {
        throw UsageError((options.m_command[0].starts_with("-") ? "unknown option '" : "unknown command '") +
                         options.m_command[0] + "': expected one of those that `bmhost --help` lists");
    }
    // Half a command line may have any words.
    if (options.m_command[0] == "completions" && options.m_command.size() > 2) return options;
    // No word of a command looks like an option, but for those with options of their own.
    const bool ownOptions = options.m_command[0] == "led" || options.m_command[0] == "firmware";
    for (auto word = options.m_command.begin() + 1; word != options.m_command.end(); ++word) {
        if (*word == "--help" || *word == "-h") {
            options.m_answer = CommandHelp(*found);
        } else if (!ownOptions && word->size() > 2 && word->starts_with("--")) {
            throw UsageError("'" + *word + "' after the command: options stand before it");
        }
    }
    return options;
}

} // namespace bmhost
