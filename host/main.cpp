// bmhost: the reference host command.
#include "host/EndNotice.h"
#include "host/Error.h"
#include "host/Inventory.h"
#include "host/Options.h"
#include "host/Redirect.h"
#include "host/Script.h"
#include "host/Session.h"
#include "host/TextOutput.h"

#include "HostLog.h"
#include "bm/Log.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
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

bool RunInventory(const OPTIONS& a_Options) {
    ExpectForPeople(a_Options);
    // To the adaptor an empty bay is an error, and it logs eight of them; who wants to see that asks for traces.
    BM_PLATFORM::LogToConsole(a_Options.m_LogLevel == BM_LOG_ERROR);
    // The adaptor's prints would stand between the tables; they are shown only when it ends the process.
    const int l_RealOutput = PrintsWithheld();
    const auto l_Output = MakeTextOutput(l_RealOutput);
    ArmEndNotice(std::chrono::milliseconds(a_Options.m_NoticeAfter));
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, *l_Output);
    std::string l_Text;
    const bool l_Good = Inventory(l_Session, ColorWanted(l_RealOutput), l_Text);
    WriteAll(l_RealOutput, l_Text);
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
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, *l_Output);
    return l_Script ? l_Script->Run(l_Session) : l_Session.RunAlone(l_Call);
}

int Run(int a_Argc, const char* const* a_Argv) {
    const OPTIONS l_Options = ParseOptions(a_Argc, a_Argv);
    if (!l_Options.m_Answer.empty()) {
        WriteAll(STDOUT_FILENO, l_Options.m_Answer);
        return EXIT_ALL_OK;
    }
    if (l_Options.m_Command[0] == "groups") {
        ExpectForPeople(l_Options);
        WriteAll(STDOUT_FILENO, ListGroups());
        return EXIT_ALL_OK;
    }
    SetUpLog(l_Options);
    const bool l_Good = l_Options.m_Command[0] == "inventory" ? RunInventory(l_Options) : RunCalls(l_Options);
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
