// bladesim_tool: the stand-in of all tools of the board; which one it is it knows from the name it is called by. It
// enters its command line in the log of the blade, and does as it is told.
#include "sim/tools/InstallFolder.h"
#include "sim/tools/RunFiles.h"
#include "sim/tools/StandIns.h"
#include "sim/tools/ToolLog.h"
#include "sim/tools/ToolOrders.h"

#include <sys/prctl.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <thread>

using namespace BLADESIM;

namespace {

constexpr int g_NoTool = 127;     // as a shell says that there is no such command
constexpr int g_NotWorking = 126; // the stand-in itself has failed

std::string NameIn(const std::string& a_Path) {
    return a_Path.substr(a_Path.rfind('/') + 1);
}

/// Ends as if the signal had come from outside; leaves no memory image.
void EndBySignal(int a_Signal) {
    ::prctl(PR_SET_DUMPABLE, 0);
    std::signal(a_Signal, SIG_DFL); // whatever a sanitizer has put there
    sigset_t l_Signals;
    sigemptyset(&l_Signals);
    sigaddset(&l_Signals, a_Signal);
    sigprocmask(SIG_UNBLOCK, &l_Signals, nullptr);
    std::raise(a_Signal);
}

void Print(std::FILE* a_File, const std::string& a_Text) {
    std::fwrite(a_Text.data(), 1, a_Text.size(), a_File);
    std::fflush(a_File);
}

int Fail(const std::string& a_Tool, const char* a_Reason) {
    Print(stderr, a_Tool + ": " + a_Reason + "\n");
    return g_NotWorking;
}

/// Returns the status to exit with; by a signal it does not return.
int DoAsTold(const TOOL_RUN& a_Run, const std::string& a_RunFolder, const std::string& a_Tool,
             const std::vector<std::string>& a_Arguments) {
    const TOOL_ORDER l_Order = TakeToolOrder(a_RunFolder, a_Tool);
    std::this_thread::sleep_for(std::chrono::milliseconds(l_Order.m_Delay));
    if (l_Order.m_Signal != 0) {
        a_Run.End(0, l_Order.m_Signal);
        EndBySignal(l_Order.m_Signal);
    }
    if (l_Order.m_Exit != 0) {
        Print(stderr, ToolsComplaint(a_Tool, l_Order.m_Exit));
        return l_Order.m_Exit;
    }
    Print(stdout, DoToolsWork(a_RunFolder, a_Tool, a_Arguments));
    return 0;
}

int Run(const std::string& a_Tool, const std::vector<std::string>& a_Arguments) {
    const std::string l_RunFolder = RunFolder();
    const TOOL_RUN l_Run(l_RunFolder, a_Tool, a_Arguments);
    int l_Status = g_NotWorking;
    try {
        l_Status = DoAsTold(l_Run, l_RunFolder, a_Tool, a_Arguments);
    } catch (const std::exception& l_Error) {
        l_Status = Fail(a_Tool, l_Error.what());
    }
    l_Run.End(l_Status, 0);
    return l_Status;
}

} // namespace

int main(int a_Count, char** a_Arguments) {
    const std::vector<std::string> l_Arguments(a_Arguments, a_Arguments + a_Count);
    const std::string l_Tool = NameIn(l_Arguments.empty() ? "" : l_Arguments.front());
    if (std::ranges::find(g_Tools, l_Tool, &TOOL::m_Name) == std::end(g_Tools)) {
        Fail(l_Tool, "no tool of the board has this name");
        return g_NoTool;
    }
    try {
        return Run(l_Tool, l_Arguments);
    } catch (const std::exception& l_Error) {
        return Fail(l_Tool, l_Error.what());
    }
}
