// A call in a child process that may never return.
#include "fake/process/BlockedChild.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

namespace {

constexpr int RETURNED = 0;
constexpr int FAILED = 1;

// The process waits for a lock: it sleeps in the one system call that locks end in.
bool WaitsForALock(pid_t a_Process) {
    std::ifstream l_File("/proc/" + std::to_string(a_Process) + "/syscall");
    std::string l_Number; // "running" while it runs
    l_File >> l_Number;
#ifdef SYS_futex_time64
    if (l_Number == std::to_string(SYS_futex_time64)) return true;
#endif
    return l_Number == std::to_string(SYS_futex);
}

[[noreturn]] void RunChild(const std::function<void()>& a_Before, const std::function<void()>& a_Call) {
    try {
        a_Before();
        a_Call();
    } catch (const std::exception& l_Error) {
        fprintf(stderr, "in the child: %s\n", l_Error.what());
        _exit(FAILED);
    }
    _exit(RETURNED);
}

} // namespace

void PrintTo(CHILD_END a_End, std::ostream* a_Stream) {
    static constexpr const char* NAMES[] = {"stays blocked", "returned", "ended by itself"};
    *a_Stream << NAMES[static_cast<int>(a_End)];
}

CHILD_END CallInChild(const std::function<void()>& a_Before, const std::function<void()>& a_Call) {
    fflush(nullptr);
    const pid_t l_Child = fork();
    if (l_Child < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (l_Child == 0) RunChild(a_Before, a_Call);
    for (;;) {
        int l_Status = 0;
        if (waitpid(l_Child, &l_Status, WNOHANG) == l_Child) {
            return WIFEXITED(l_Status) && WEXITSTATUS(l_Status) == RETURNED ? CHILD_END::Returned : CHILD_END::Ended;
        }
        if (WaitsForALock(l_Child)) break;
        std::this_thread::yield();
    }
    kill(l_Child, SIGKILL);
    waitpid(l_Child, nullptr, 0);
    return CHILD_END::StaysBlocked;
}
