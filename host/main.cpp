// bmhost: the reference host command.
#include "host/EndNotice.h"
#include "host/Error.h"
#include "host/Inventory.h"
#include "host/LedPanel.h"
#include "host/LedSet.h"
#include "host/Options.h"
#include "host/Redirect.h"
#include "host/Script.h"
#include "host/Session.h"
#include "host/TextOutput.h"

#include "HostLog.h"
#include "bm/Log.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
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

void ExpectForPeople(const OPTIONS& a_Options) {
    const std::string& l_Word = a_Options.m_Command[0];
    ExpectWords(a_Options, 1, l_Word.c_str());
    if (a_Options.m_Json) throw USAGE_ERROR(l_Word + " is for people: expected it without --json");
}

// What a command for people makes of a session: the text for standard output, and whether it is all right.
using FOR_PEOPLE = std::function<bool(SESSION&, bool a_Color, std::string& a_Text)>;

bool RunForPeople(const OPTIONS& a_Options, const FOR_PEOPLE& a_Command) {
    // To the adaptor an empty bay is an error, and it logs eight of them; who wants to see that asks for traces.
    BM_PLATFORM::LogToConsole(a_Options.m_LogLevel == BM_LOG_ERROR);
    // The adaptor's prints would stand between the tables; they are shown only when it ends the process.
    const int l_RealOutput = PrintsWithheld();
    const auto l_Output = MakeTextOutput(l_RealOutput);
    ArmEndNotice(std::chrono::milliseconds(a_Options.m_NoticeAfter));
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, a_Options.m_Storage, *l_Output);
    std::string l_Text;
    l_Session.Lifecycle(OPERATION::Init);
    const bool l_Good = a_Command(l_Session, ColorWanted(l_RealOutput), l_Text);
    l_Session.Lifecycle(OPERATION::Fin);
    WriteAll(l_RealOutput, l_Text);
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

bool RunLedSet(const OPTIONS& a_Options) {
    if (a_Options.m_Json) throw USAGE_ERROR("led set is for people: expected it without --json");
    const LED_ORDER l_Order = ParseLedOrder(a_Options.m_Command);
    std::string l_Remarks;
    const bool l_Good = RunForPeople(a_Options, [&](SESSION& a_Session, bool a_Color, std::string& a_Text) {
        return SetLed(a_Session, l_Order, a_Color, a_Text, l_Remarks);
    });
    for (std::size_t l_Begin = 0; l_Begin < l_Remarks.size();) {
        const std::size_t l_End = l_Remarks.find('\n', l_Begin);
        fprintf(stderr, "bmhost: %s\n", l_Remarks.substr(l_Begin, l_End - l_Begin).c_str());
        l_Begin = l_End + 1;
    }
    return l_Good;
}

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
    {"inventory", RunInventory}, {"leds", RunLeds}, {"led", RunLedSet}};

int Run(int a_Argc, const char* const* a_Argv) {
    const OPTIONS l_Options = ParseOptions(a_Argc, a_Argv);
    if (!l_Options.m_Answer.empty()) {
        WriteAll(STDOUT_FILENO, l_Options.m_Answer);
        return EXIT_ALL_OK;
    }
    const std::string& l_Word = l_Options.m_Command[0];
    if (l_Word == "groups") {
        ExpectForPeople(l_Options);
        WriteAll(STDOUT_FILENO, ListGroups());
        return EXIT_ALL_OK;
    }
    SetUpLog(l_Options);
    const COMMAND_FOR_PEOPLE* const l_ForPeople =
        std::find_if(std::begin(COMMANDS_FOR_PEOPLE), std::end(COMMANDS_FOR_PEOPLE),
                     [&](const COMMAND_FOR_PEOPLE& a_Command) { return l_Word == a_Command.m_Word; });
    const bool l_Good =
        l_ForPeople != std::end(COMMANDS_FOR_PEOPLE) ? l_ForPeople->m_Run(l_Options) : RunCalls(l_Options);
    return l_Good ? EXIT_ALL_OK : EXIT_SOME_FAILED;
}

int Fail(const std::exception& a_Error, int a_Status) {
    fflush(stdout);
    fprintf(stderr, "bmhost: %s\n", a_Error.what());
    return a_Status;
}

} // namespace

int main(int a_Argc, char** a_Argv) {
    // A reader that goes away is an error of the output, not the end of a host that holds hardware. A handler, because
    // tools that the adaptor starts get the default back.
    signal(SIGPIPE, [](int) {});
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
