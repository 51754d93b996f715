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

#include <cstdio>
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

bool RunInventory(const OPTIONS& a_Options) {
    ExpectWords(a_Options, 1, "inventory");
    // The adaptor's prints would stand between the tables; they are shown only when it ends the process.
    const int l_RealOutput = PrintsWithheld();
    const auto l_Output = MakeTextOutput();
    ArmEndNotice();
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, *l_Output);
    std::string l_Text;
    const bool l_Good = Inventory(l_Session, ColorWanted(l_RealOutput), l_Text);
    return dprintf(l_RealOutput, "%s", l_Text.c_str()) >= 0 && l_Good;
}

bool RunCalls(const OPTIONS& a_Options) {
    const auto& l_Words = a_Options.m_Command;
    const bool l_Script = l_Words[0] == "script";
    CALL l_Call;
    if (l_Script) {
        ExpectWords(a_Options, 2, "script FILE|-");
    } else {
        l_Call = ParseCall(l_Words); // bad words are found before the adaptor is touched
    }
    const auto l_Output = a_Options.m_Json ? MakeJsonOutput(PrintsToStandardError()) : MakeTextOutput();
    ArmEndNotice();
    SESSION l_Session(a_Options.m_Adaptor, a_Options.m_Mode, *l_Output);
    return l_Script ? RunScript(l_Words[1], l_Session) : l_Session.RunAlone(l_Call);
}

int Run(int a_Argc, const char* const* a_Argv) {
    const OPTIONS l_Options = ParseOptions(a_Argc, a_Argv);
    if (!l_Options.m_Answer.empty()) {
        fputs(l_Options.m_Answer.c_str(), stdout);
        return EXIT_ALL_OK;
    }
    if (l_Options.m_Command[0] == "groups") {
        ExpectWords(l_Options, 1, "groups");
        fputs(ListGroups().c_str(), stdout);
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
    int l_Status = EXIT_ALL_OK;
    try {
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
