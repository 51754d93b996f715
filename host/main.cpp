// bmhost: the reference host command.
#include "host/commands/Dsp.h"
#include "host/commands/Firmware.h"
#include "host/commands/Led.h"
#include "host/commands/Options.h"
#include "host/commands/Switch.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/resident/Run.h"
#include "host/resident/RunOutput.h"
#include "host/resident/Signals.h"
#include "host/session/EndNotice.h"
#include "host/session/Script.h"
#include "host/session/Session.h"
#include "host/shell/Shell.h"
#include "host/shell/ShellLines.h"
#include "host/views/Inventory.h"
#include "host/views/LedPanel.h"
#include "host/views/Pstn.h"
#include "host/views/Status.h"
#include "host/words/Error.h"

#include "bm/Log.h"
#include "bm_dev/ByteText.h"
#include "bm_dev/HostLog.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

using namespace bmhost;

void SetUpLog(const Options& options) {
    BM_LOG_LEVEL = options.m_logLevel;
    if (options.m_logFile.empty()) return;
    try {
        bm_dev::LogToFile(options.m_logFile);
    } catch (const std::runtime_error& error) {
        throw UsageError(error.what());
    }
}

void ExpectWords(const Options& options, std::size_t count, const char* usage) {
    if (options.m_command.size() != count) throw UsageError(options.m_command[0] + ": expected " + usage);
}

void RefuseJson(const Options& options) {
    if (options.m_json) throw UsageError(options.m_command[0] + " is for people: expected it without --json");
}

void ExpectForPeople(const Options& options) {
    ExpectWords(options, 1, options.m_command[0].c_str());
    RefuseJson(options);
}

// What a command for people makes of a session: the text for standard output, and whether it is all right.
using ForPeople = std::function<bool(Session&, bool color, std::string& text)>;

// Where a command's own output goes. The adaptor's prints would stand between its lines: they are withheld, and shown
// when the adaptor ends the process. To the adaptor an empty bay is an error, and it logs eight of them; who wants to
// see that asks for traces.
int OutputForPeople(const Options& options) {
    if (options.m_json) return PrintsToStandardError();
    bm_dev::LogToConsole(options.m_logLevel == BM_LOG_ERROR);
    return PrintsWithheld();
}

// Does the work on a session: the shell's, or one of its own between init and fin.
bool WithSession(const Options& options, const std::function<bool(Session&, int descriptor)>& work) {
    if (options.m_shell) return work(options.m_shell(), options.m_output);
    const int realOutput = OutputForPeople(options);
    const auto output = MakeTextOutput(realOutput);
    ArmEndNotice(std::chrono::milliseconds(options.m_noticeAfter));
    Session session(options.m_adaptor, options.m_mode, options.m_storage, *output);
    session.Lifecycle(Operation::Init);
    bool good = false;
    try {
        good = work(session, realOutput);
    } catch (...) { // nobody reads the output any more, say: the hardware is let go all the same
        session.Lifecycle(Operation::Fin);
        throw;
    }
    session.Lifecycle(Operation::Fin);
    return good;
}

bool RunForPeople(const Options& options, const ForPeople& command) {
    int output = options.m_output;
    std::string text;
    const bool good = WithSession(options, [&](Session& session, int descriptor) {
        output = descriptor;
        return command(session, ColorWanted(descriptor), text);
    });
    fflush(stdout);
    WriteAll(output, text);
    return good;
}

bool RunInventory(const Options& options) {
    ExpectForPeople(options);
    return RunForPeople(options, Inventory);
}

bool RunLeds(const Options& options) {
    ExpectForPeople(options);
    return RunForPeople(options, LedPanel);
}

// What an order makes of a session: besides the text, lines for standard error, which are shown after it.
template <typename Order>
using CarryOut = bool (*)(Session&, const Order&, bool color, std::string& text, std::string& remarks);

using WithRemarks = std::function<bool(Session&, bool color, std::string& text, std::string& remarks)>;

bool RunWithRemarks(const Options& options, const WithRemarks& command) {
    std::string remarks;
    const bool good = RunForPeople(options, [&](Session& session, bool color, std::string& text) {
        return command(session, color, text, remarks);
    });
    for (std::size_t begin = 0; begin < remarks.size();) {
        const std::size_t end = remarks.find('\n', begin);
        fprintf(stderr, "bmhost: %s\n", remarks.substr(begin, end - begin).c_str());
        begin = end + 1;
    }
    return good;
}

template <typename Order>
bool RunOrder(const Options& options, const Order& order, CarryOut<Order> carryOut) {
    return RunWithRemarks(options, [&](Session& session, bool color, std::string& text, std::string& remarks) {
        return carryOut(session, order, color, text, remarks);
    });
}

bool RunLedSet(const Options& options) {
    if (options.m_json) throw UsageError("led set is for people: expected it without --json");
    const LedOrder order = ParseLedOrder(options.m_command);
    return RunOrder(options, order, SetLed);
}

bool RunDsp(const Options& options) {
    RefuseJson(options);
    if (options.m_command.size() == 1) return RunWithRemarks(options, DspTable);
    const DspOrder order = ParseDspOrder(options.m_command);
    return RunOrder(options, order, SetDspAddress);
}

bool RunSwitch(const Options& options) {
    RefuseJson(options);
    if (options.m_command.size() == 1) return RunForPeople(options, SwitchTable);
    const SwitchOrder order = ParseSwitchOrder(options.m_command);
    return RunOrder(options, order, SetSwitchPort);
}

bool RunGroups(const Options& options) {
    ExpectForPeople(options);
    WriteAll(options.m_output, ListGroups());
    return true;
}

bool RunPstn(const Options& options) {
    ExpectForPeople(options);
    std::string text;
    const bool good = PstnTable(getenv("BLADESIM_RUN_DIR"), ColorWanted(options.m_output), text);
    WriteAll(options.m_output, text);
    return good;
}

bool RunStatus(const Options& options) {
    ExpectWords(options, 1, "status");
    if (!options.m_json) return RunForPeople(options, Status);
    return RunForPeople(options, [](Session& session, bool, std::string& text) { return StatusJson(session, text); });
}

bool RunFirmware(const Options& options) {
    RefuseJson(options);
    const FirmwareOrder order = ParseFirmwareOrder(options.m_command);
    if (order.m_show) {
        return RunForPeople(options,
                            [](Session& session, bool, std::string& text) { return ShowFirmware(session, text); });
    }
    if (order.m_dryRun) {
        WriteAll(options.m_output, FirmwareDryRun(order));
        return true;
    }
    const auto update = [&] {
        return WithSession(
            options, [&](Session& session, int descriptor) { return UpdateFirmware(session, order, descriptor); });
    };
    if (options.m_shell) return update();
    StopRequest notGranted;
    return WithSignals(notGranted, "waiting for the end of the upgrade", update);
}

bool RunResident(const Options& options) {
    ExpectWords(options, 1, "run");
    StopRequest stop;
    return WithSignals(stop, "stop and fin follow", [&] {
        // Who asks for traces wants to see the prints as they come, too.
        const bool prompt = options.m_json || options.m_logLevel == BM_LOG_ERROR;
        const int output = prompt ? PrintsToStandardError() : OutputForPeople(options);
        const auto unused = MakeTextOutput(output);
        const auto news = options.m_json ? MakeRunJson(output) : MakeRunText(output);
        ArmEndNotice(std::chrono::milliseconds(options.m_noticeAfter));
        Session session(options.m_adaptor, options.m_mode, options.m_storage, *unused);
        return RunHost(session, *news, stop);
    });
}

bool RunCompletions(const Options& options) {
    std::string before;
    for (auto word = options.m_command.begin() + 1; word != options.m_command.end(); ++word)
        before += (before.empty() ? "" : " ") + *word;
    std::string text;
    for (const std::string& completion : ShellCompletions(before))
        text += completion + "\n";
    WriteAll(options.m_output, text);
    return true;
}

// `shell` and what it does with a command are below the table of commands.
bool RunShell(const Options& options);

bool RunCalls(const Options& options) {
    const auto& words = options.m_command;
    std::optional<Script> script;
    Call call;
    // A file that is not there and bad words are found before the adaptor is touched.
    if (words[0] == "script") {
        ExpectWords(options, 2, "script FILE|-");
        script.emplace(words[1]);
    } else {
        call = ParseCall(words);
    }
    // The init and fin around a call alone show nothing, their prints neither.
    const bool silent = !script && NeedsLife(call.m_operation);
    const auto output = options.m_json ? MakeJsonOutput(PrintsToStandardError())
                                       : MakeTextOutput(silent ? PrintsWithheld() : STDOUT_FILENO);
    ArmEndNotice(std::chrono::milliseconds(options.m_noticeAfter));
    Session session(options.m_adaptor, options.m_mode, options.m_storage, *output);
    return script ? script->Run(session) : session.RunAlone(call);
}

struct CommandForPeople {
    const char* m_word;
    bool (*m_run)(const Options&);
};

constexpr CommandForPeople CommandsForPeople[] = {
    {"inventory", RunInventory}, {"leds", RunLeds},   {"led", RunLedSet},    {"dsp", RunDsp},
    {"switch", RunSwitch},       {"pstn", RunPstn},   {"status", RunStatus}, {"firmware", RunFirmware},
    {"run", RunResident},        {"shell", RunShell}, {"groups", RunGroups}, {"completions", RunCompletions}};

const CommandForPeople* FindForPeople(const std::string& word) {
    const auto* const found = std::find_if(std::begin(CommandsForPeople), std::end(CommandsForPeople),
                                           [&](const CommandForPeople& command) { return word == command.m_word; });
    return found != std::end(CommandsForPeople) ? found : nullptr;
}

bool RunShell(const Options& options) {
    ExpectWords(options, 1, "shell");
    const auto lines = MakeShellLines();
    const int realOutput = OutputForPeople(options);
    const auto output = options.m_json ? MakeJsonOutput(realOutput) : MakeTextOutput(realOutput);
    ArmEndNotice(std::chrono::milliseconds(options.m_noticeAfter));
    Session session(options.m_adaptor, options.m_mode, options.m_storage, *output);
    Shell shell(session);
    Options typed = options;
    typed.m_output = realOutput;
    typed.m_shell = [&]() -> Session& { return shell.Opened(); };
    return shell.Run(*lines, [&](const std::vector<std::string>& words, bool& good) {
        const CommandForPeople* const command = FindForPeople(words[0]);
        if (command == nullptr) return false;
        if (command->m_run == RunShell || command->m_run == RunResident)
            throw UsageError(words[0] + ": not in a shell");
        typed.m_command = words;
        good = command->m_run(typed);
        return true;
    });
}

int Run(int argc, const char* const* argv) {
    const Options options = ParseOptions(argc, argv);
    if (!options.m_answer.empty()) {
        WriteAll(STDOUT_FILENO, options.m_answer);
        return ExitAllOk;
    }
    SetUpLog(options);
    const CommandForPeople* const forPeople = FindForPeople(options.m_command[0]);
    const bool good = forPeople != nullptr ? forPeople->m_run(options) : RunCalls(options);
    return good ? ExitAllOk : ExitSomeFailed;
}

int Fail(const std::exception& error, int status) {
    fflush(stdout);
    fprintf(stderr, "bmhost: %s\n", bm_dev::Printable(error.what(), "\n\t").c_str());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    // A reader that goes away, and a file that may not grow any more, are errors of the output or of the storage, not
    // the end of a host that holds hardware. Handlers, because tools that the adaptor starts get the default back.
    signal(SIGPIPE, [](int) {});
    signal(SIGXFSZ, [](int) {});
    int status = ExitAllOk;
    try {
        KeepStandardDescriptors();
        status = Run(argc, argv);
    } catch (const UsageError& error) {
        status = Fail(error, ExitUsage);
    } catch (const LoadError& error) {
        status = Fail(error, ExitNoAdaptor);
    } catch (const std::exception& error) {
        status = Fail(error, ExitSomeFailed);
    }
    DisarmEndNotice();
    return status;
}
