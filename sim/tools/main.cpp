// bladesim_tool: the stand-in for all tools of the board. The name by which it is called says which tool it plays. It
// enters its command line in the blade's log and does as ordered.
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

using namespace bladesim;

namespace {

constexpr int NoTool = 127;     // what a shell returns when there is no such command
constexpr int NotWorking = 126; // the stand-in itself has failed

std::string NameIn(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// Ends as if the signal had come from outside; leaves no core.
void EndBySignal(int signal) {
    ::prctl(PR_SET_DUMPABLE, 0);
    std::signal(signal, SIG_DFL); // removes a sanitizer's handler
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    std::raise(signal);
}

void Print(std::FILE* file, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
}

int Fail(const std::string& tool, const char* reason) {
    Print(stderr, tool + ": " + reason + "\n");
    return NotWorking;
}

/// Returns the status to exit with; does not return when it ends by a signal.
int DoAsTold(const ToolRun& run, const std::string& runFolder, const std::string& tool,
             const std::vector<std::string>& words) {
    const ToolOrder order = TakeToolOrder(runFolder, tool);
    std::this_thread::sleep_for(std::chrono::milliseconds(order.m_delay));
    if (order.m_signal != 0) {
        run.End(0, order.m_signal);
        EndBySignal(order.m_signal);
    }
    if (order.m_exit != 0) {
        Print(stderr, ToolsComplaint(tool, order.m_exit));
        return order.m_exit;
    }
    Print(stdout, DoToolsWork(runFolder, tool, words));
    return 0;
}

int Run(const std::string& tool, const std::vector<std::string>& words) {
    const std::string runFolder = RunFolder();
    const ToolRun run(runFolder, tool, words);
    int status = NotWorking;
    try {
        status = DoAsTold(run, runFolder, tool, words);
    } catch (const std::exception& error) {
        status = Fail(tool, error.what());
    }
    run.End(status, 0);
    return status;
}

} // namespace

int main(int wordCount, char** words) {
    const std::vector<std::string> arguments(words, words + wordCount);
    const std::string tool = NameIn(arguments.empty() ? "" : arguments.front());
    if (std::ranges::find(Tools, tool, &Tool::m_name) == std::end(Tools)) {
        Fail(tool, "no tool of the board has this name");
        return NoTool;
    }
    try {
        return Run(tool, arguments);
    } catch (const std::exception& error) {
        return Fail(tool, error.what());
    }
}
