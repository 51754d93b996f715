// bmhost: the reference host command.
#include "host/commands/Dsp.h"
#include "host/commands/Firmware.h"
#include "host/commands/LedSet.h"
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

using namespace BMHOST;

void SetUpLog(const OPTIONS& a_Options) {
    BM_LOG_LEVEL = a_Options.m_LogLevel;
    if (a_Options.m_LogFile.empty()) return;
    try {
        BM_PLATFORM::LogToFile(a_Options.m_LogFile);
    } catch (const std::runtime_error& l_Error) {
        throw USAGE_ERROR(l_Error.what());
    }
}

void ExpectWords(const OPTIONS& a_Options, std::size_t a_Count, const char* a_Usage) {
    if (a_Options.m_Command.size() != a_Count) throw USAGE_ERROR(a_Options.m_Command[0] + ": expected " + a_Usage);
}

void RefuseJson(const OPTIONS& a_Options) {
    if (a_Options.m_Json) throw USAGE_ERROR(a_Options.m_Command[0] + " is for people: expected it without --json");
}

void ExpectForPeople(const OPTIONS& a_Options) {
    ExpectWords(a_Options, 1, a_Options.m_Command[0].c_str());
    RefuseJson(a_Options);
}

// What a command for people makes of a session: the text for standard output, and whether it is all right.
using FOR_PEOPLE = std::function<bool(SESSION&, bool a_Color, std::string& a_Text)>;

// Where a command's own output goes. The adaptor's prints would stand between its lines: they are withheld, and shown
// when the adaptor ends the process. To the adaptor an empty bay is an error, and it logs eight of them; who wants to
// see that asks for traces.
int OutputForPeople(const OPTIONS& a_Options) {
    if (a_Options.m_Json) return PrintsToStandardError();
    BM_PLATFORM::LogToConsole(a_Options.m_LogLevel == BM_LOG_ERROR);
    return PrintsWithheld();
}

// Does the work on a session: the shell's, or one of its own between init and fin.
bool WithSession(const OPTIONS& a_Options, const std::function<bool(SESSION&, int a_Output)>& a_Work) {
    if (a_Options.m_Shell) return a_Work(a_Options.m_Shell(), a_Options.m_Output);
    const int l_RealOutput = OutputForPeople(a_Options);
    const auto l_Output = MakeTextOutput(l_RealOutput);
    ArmEndNotice(std::chrono::milliseconds(a_Options.m_NoticeAfter));
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, a_Options.m_Storage, *l_Output);
    l_Session.Lifecycle(OPERATION::Init);
    bool l_Good = false;
    try {
        l_Good = a_Work(l_Session, l_RealOutput);
    } catch (...) { // nobody reads the output any more, say: the hardware is let go all the same
        l_Session.Lifecycle(OPERATION::Fin);
        throw;
    }
    l_Session.Lifecycle(OPERATION::Fin);
    return l_Good;
}

bool RunForPeople(const OPTIONS& a_Options, const FOR_PEOPLE& a_Command) {
    int l_Output = a_Options.m_Output;
    std::string l_Text;
    const bool l_Good = WithSession(a_Options, [&](SESSION& a_Session, int a_Output) {
        l_Output = a_Output;
        return a_Command(a_Session, ColorWanted(a_Output), l_Text);
    });
    fflush(stdout);
    WriteAll(l_Output, l_Text);
    return l_Good;
}

bool RunInventory(const OPTIONS& a_Options) {
    ExpectForPeople(a_Options);
    return RunForPeople(a_Options, Inventory);
}

bool RunLeds(const OPTIONS& a_Options) {
    ExpectForPeople(a_Options);
    return RunForPeople(a_Options, LedPanel);
}

// What an order makes of a session: besides the text, lines for standard error, which are shown after it.
template <typename ORDER>
using CARRY_OUT = bool (*)(SESSION&, const ORDER&, bool a_Color, std::string& a_Text, std::string& a_Remarks);

using WITH_REMARKS = std::function<bool(SESSION&, bool a_Color, std::string& a_Text, std::string& a_Remarks)>;

bool RunWithRemarks(const OPTIONS& a_Options, const WITH_REMARKS& a_Command) {
    std::string l_Remarks;
    const bool l_Good = RunForPeople(a_Options, [&](SESSION& a_Session, bool a_Color, std::string& a_Text) {
        return a_Command(a_Session, a_Color, a_Text, l_Remarks);
    });
    for (std::size_t l_Begin = 0; l_Begin < l_Remarks.size();) {
        const std::size_t l_End = l_Remarks.find('\n', l_Begin);
        fprintf(stderr, "bmhost: %s\n", l_Remarks.substr(l_Begin, l_End - l_Begin).c_str());
        l_Begin = l_End + 1;
    }
    return l_Good;
}

template <typename ORDER>
bool RunOrder(const OPTIONS& a_Options, const ORDER& a_Order, CARRY_OUT<ORDER> a_CarryOut) {
    return RunWithRemarks(a_Options,
                          [&](SESSION& a_Session, bool a_Color, std::string& a_Text, std::string& a_Remarks) {
                              return a_CarryOut(a_Session, a_Order, a_Color, a_Text, a_Remarks);
                          });
}

bool RunLedSet(const OPTIONS& a_Options) {
    if (a_Options.m_Json) throw USAGE_ERROR("led set is for people: expected it without --json");
    const LED_ORDER l_Order = ParseLedOrder(a_Options.m_Command);
    return RunOrder(a_Options, l_Order, SetLed);
}

bool RunDsp(const OPTIONS& a_Options) {
    RefuseJson(a_Options);
    if (a_Options.m_Command.size() == 1) return RunWithRemarks(a_Options, DspTable);
    const DSP_ORDER l_Order = ParseDspOrder(a_Options.m_Command);
    return RunOrder(a_Options, l_Order, SetDspAddress);
}

bool RunSwitch(const OPTIONS& a_Options) {
    RefuseJson(a_Options);
    if (a_Options.m_Command.size() == 1) return RunForPeople(a_Options, SwitchTable);
    const SWITCH_ORDER l_Order = ParseSwitchOrder(a_Options.m_Command);
    return RunOrder(a_Options, l_Order, SetSwitchPort);
}

bool RunGroups(const OPTIONS& a_Options) {
    ExpectForPeople(a_Options);
    WriteAll(a_Options.m_Output, ListGroups());
    return true;
}

bool RunPstn(const OPTIONS& a_Options) {
    ExpectForPeople(a_Options);
    std::string l_Text;
    const bool l_Good = PstnTable(getenv("BLADESIM_RUN_DIR"), ColorWanted(a_Options.m_Output), l_Text);
    WriteAll(a_Options.m_Output, l_Text);
    return l_Good;
}

bool RunStatus(const OPTIONS& a_Options) {
    ExpectWords(a_Options, 1, "status");
    if (!a_Options.m_Json) return RunForPeople(a_Options, Status);
    return RunForPeople(a_Options,
                        [](SESSION& a_Session, bool, std::string& a_Text) { return StatusJson(a_Session, a_Text); });
}

bool RunFirmware(const OPTIONS& a_Options) {
    RefuseJson(a_Options);
    const FIRMWARE_ORDER l_Order = ParseFirmwareOrder(a_Options.m_Command);
    if (l_Order.m_Show) {
        return RunForPeople(
            a_Options, [](SESSION& a_Session, bool, std::string& a_Text) { return ShowFirmware(a_Session, a_Text); });
    }
    if (l_Order.m_DryRun) {
        WriteAll(a_Options.m_Output, FirmwareDryRun(l_Order));
        return true;
    }
    const auto l_Update = [&] {
        return WithSession(
            a_Options, [&](SESSION& a_Session, int a_Output) { return UpdateFirmware(a_Session, l_Order, a_Output); });
    };
    if (a_Options.m_Shell) return l_Update();
    STOP_REQUEST l_NotGranted;
    return WithSignals(l_NotGranted, "waiting for the end of the upgrade", l_Update);
}

bool RunResident(const OPTIONS& a_Options) {
    ExpectWords(a_Options, 1, "run");
    STOP_REQUEST l_Stop;
    return WithSignals(l_Stop, "stop and fin follow", [&] {
        // Who asks for traces wants to see the prints as they come, too.
        const bool l_Prompt = a_Options.m_Json || a_Options.m_LogLevel == BM_LOG_ERROR;
        const int l_Output = l_Prompt ? PrintsToStandardError() : OutputForPeople(a_Options);
        const auto l_Unused = MakeTextOutput(l_Output);
        const auto l_News = a_Options.m_Json ? MakeRunJson(l_Output) : MakeRunText(l_Output);
        ArmEndNotice(std::chrono::milliseconds(a_Options.m_NoticeAfter));
        SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, a_Options.m_Storage, *l_Unused);
        return RunHost(l_Session, *l_News, l_Stop);
    });
}

bool RunCompletions(const OPTIONS& a_Options) {
    std::string l_Before;
    for (auto l_Word = a_Options.m_Command.begin() + 1; l_Word != a_Options.m_Command.end(); ++l_Word)
        l_Before += (l_Before.empty() ? "" : " ") + *l_Word;
    std::string l_Text;
    for (const std::string& l_Completion : ShellCompletions(l_Before))
        l_Text += l_Completion + "\n";
    WriteAll(a_Options.m_Output, l_Text);
    return true;
}

// `shell` and what it does with a command are below the table of commands.
bool RunShell(const OPTIONS& a_Options);

bool RunCalls(const OPTIONS& a_Options) {
    const auto& l_Words = a_Options.m_Command;
    std::optional<SCRIPT> l_Script;
    CALL l_Call;
    // A file that is not there and bad words are found before the adaptor is touched.
    if (l_Words[0] == "script") {
        ExpectWords(a_Options, 2, "script FILE|-");
        l_Script.emplace(l_Words[1]);
    } else {
        l_Call = ParseCall(l_Words);
    }
    // The init and fin around a call alone show nothing, their prints neither.
    const bool l_Silent = !l_Script && NeedsLife(l_Call.m_Operation);
    const auto l_Output = a_Options.m_Json ? MakeJsonOutput(PrintsToStandardError())
                                           : MakeTextOutput(l_Silent ? PrintsWithheld() : STDOUT_FILENO);
    ArmEndNotice(std::chrono::milliseconds(a_Options.m_NoticeAfter));
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, a_Options.m_Storage, *l_Output);
    return l_Script ? l_Script->Run(l_Session) : l_Session.RunAlone(l_Call);
}

struct COMMAND_FOR_PEOPLE {
    const char* m_Word;
    bool (*m_Run)(const OPTIONS&);
};

constexpr COMMAND_FOR_PEOPLE COMMANDS_FOR_PEOPLE[] = {
    {"inventory", RunInventory}, {"leds", RunLeds},   {"led", RunLedSet},    {"dsp", RunDsp},
    {"switch", RunSwitch},       {"pstn", RunPstn},   {"status", RunStatus}, {"firmware", RunFirmware},
    {"run", RunResident},        {"shell", RunShell}, {"groups", RunGroups}, {"completions", RunCompletions}};

const COMMAND_FOR_PEOPLE* FindForPeople(const std::string& a_Word) {
    const auto* const l_Found =
        std::find_if(std::begin(COMMANDS_FOR_PEOPLE), std::end(COMMANDS_FOR_PEOPLE),
                     [&](const COMMAND_FOR_PEOPLE& a_Command) { return a_Word == a_Command.m_Word; });
    return l_Found != std::end(COMMANDS_FOR_PEOPLE) ? l_Found : nullptr;
}

bool RunShell(const OPTIONS& a_Options) {
    ExpectWords(a_Options, 1, "shell");
    const auto l_Lines = MakeShellLines();
    const int l_RealOutput = OutputForPeople(a_Options);
    const auto l_Output = a_Options.m_Json ? MakeJsonOutput(l_RealOutput) : MakeTextOutput(l_RealOutput);
    ArmEndNotice(std::chrono::milliseconds(a_Options.m_NoticeAfter));
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, a_Options.m_Storage, *l_Output);
    SHELL l_Shell(l_Session);
    OPTIONS l_Typed = a_Options;
    l_Typed.m_Output = l_RealOutput;
    l_Typed.m_Shell = [&]() -> SESSION& { return l_Shell.Opened(); };
    return l_Shell.Run(*l_Lines, [&](const std::vector<std::string>& a_Words, bool& a_Good) {
        const COMMAND_FOR_PEOPLE* const l_Command = FindForPeople(a_Words[0]);
        if (l_Command == nullptr) return false;
        if (l_Command->m_Run == RunShell || l_Command->m_Run == RunResident)
            throw USAGE_ERROR(a_Words[0] + ": not in a shell");
        l_Typed.m_Command = a_Words;
        a_Good = l_Command->m_Run(l_Typed);
        return true;
    });
}

int Run(int a_Argc, const char* const* a_Argv) {
    const OPTIONS l_Options = ParseOptions(a_Argc, a_Argv);
    if (!l_Options.m_Answer.empty()) {
        WriteAll(STDOUT_FILENO, l_Options.m_Answer);
        return EXIT_ALL_OK;
    }
    SetUpLog(l_Options);
    const COMMAND_FOR_PEOPLE* const l_ForPeople = FindForPeople(l_Options.m_Command[0]);
    const bool l_Good = l_ForPeople != nullptr ? l_ForPeople->m_Run(l_Options) : RunCalls(l_Options);
    return l_Good ? EXIT_ALL_OK : EXIT_SOME_FAILED;
}

int Fail(const std::exception& a_Error, int a_Status) {
    fflush(stdout);
    fprintf(stderr, "bmhost: %s\n", BM_PLATFORM::Printable(a_Error.what(), "\n\t").c_str());
    return a_Status;
}

} // namespace

int main(int a_Argc, char** a_Argv) {
    // A reader that goes away, and a file that may not grow any more, are errors of the output or of the storage, not
    // the end of a host that holds hardware. Handlers, because tools that the adaptor starts get the default back.
    signal(SIGPIPE, [](int) {});
    signal(SIGXFSZ, [](int) {});
    int l_Status = EXIT_ALL_OK;
    try {
        KeepStandardDescriptors();
        l_Status = Run(a_Argc, a_Argv);
    } catch (const USAGE_ERROR& l_Error) {
        l_Status = Fail(l_Error, EXIT_USAGE);
    } catch (const LOAD_ERROR& l_Error) {
        l_Status = Fail(l_Error, EXIT_NO_ADAPTOR);
    } catch (const std::exception& l_Error) {
        l_Status = Fail(l_Error, EXIT_SOME_FAILED);
    }
    DisarmEndNotice();
    return l_Status;
}
