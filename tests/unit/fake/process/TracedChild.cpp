// A child process that stops at each of its system calls; see the header.
#include "fake/process/TracedChild.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <system_error>

namespace {

// Those that a program of either word size makes.
constexpr long ON_FILES[] = {
#ifdef SYS_fstat64
    SYS_fstat64,
#endif
#ifdef SYS_fstatat64
    SYS_fstatat64,
#endif
#ifdef SYS_newfstatat
    SYS_newfstatat,
#endif
    SYS_fchmod,     SYS_flock,  SYS_fstat,    SYS_fsync,     SYS_mkdir, SYS_mkdirat, SYS_open,     SYS_openat,
    SYS_read,       SYS_rename, SYS_renameat, SYS_renameat2, SYS_statx, SYS_unlink,  SYS_unlinkat, SYS_write,
};

void Check(long a_Result, const char* a_Call) {
    if (a_Result < 0) throw std::system_error(errno, std::generic_category(), a_Call);
}

auto& Number(user_regs_struct& a_Registers) {
#ifdef __x86_64__
    return a_Registers.orig_rax;
#else
    return a_Registers.orig_eax;
#endif
}

auto& Result(user_regs_struct& a_Registers) {
#ifdef __x86_64__
    return a_Registers.rax;
#else
    return a_Registers.eax;
#endif
}

user_regs_struct Registers(pid_t a_Process) {
    user_regs_struct l_Registers{};
    Check(ptrace(PTRACE_GETREGS, a_Process, nullptr, &l_Registers), "PTRACE_GETREGS");
    return l_Registers;
}

void SetRegisters(pid_t a_Process, user_regs_struct a_Registers) {
    Check(ptrace(PTRACE_SETREGS, a_Process, nullptr, &a_Registers), "PTRACE_SETREGS");
}

} // namespace

TRACED_CHILD::TRACED_CHILD(const std::function<int()>& a_Call) {
    fflush(nullptr);
    m_Process = fork();
    Check(m_Process, "fork");
    if (m_Process == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(255);
        raise(SIGSTOP);
        _exit(a_Call());
    }
    Check(waitpid(m_Process, &m_Status, 0), "waitpid");
    m_bEnded = !WIFSTOPPED(m_Status);
    if (m_bEnded) throw std::system_error(EPERM, std::generic_category(), "PTRACE_TRACEME");
    const long l_Options = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL;
    Check(ptrace(PTRACE_SETOPTIONS, m_Process, nullptr, l_Options), "PTRACE_SETOPTIONS");
}

TRACED_CHILD::~TRACED_CHILD() {
    if (m_bEnded) return;
    kill(m_Process, SIGKILL);
    waitpid(m_Process, &m_Status, 0);
}

// To the beginning or the end of a system call.
bool TRACED_CHILD::mRunToStop() {
    while (!m_bEnded) {
        Check(ptrace(PTRACE_SYSCALL, m_Process, nullptr, nullptr), "PTRACE_SYSCALL");
        Check(waitpid(m_Process, &m_Status, 0), "waitpid");
        m_bEnded = !WIFSTOPPED(m_Status);
        if (!m_bEnded && WSTOPSIG(m_Status) == (SIGTRAP | 0x80)) return true;
    }
    return false;
}

bool TRACED_CHILD::GoOn() {
    if (m_Number >= 0) mRunToStop(); // the end of the call
    m_Number = -1;
    if (mRunToStop()) {
        user_regs_struct l_Registers = Registers(m_Process);
        m_Number = static_cast<long>(Number(l_Registers));
    }
    return !m_bEnded && m_Number != SYS_exit_group;
}

bool TRACED_CHILD::IsOnFiles() const {
    return std::ranges::find(ON_FILES, m_Number) != std::end(ON_FILES);
}

void TRACED_CHILD::Fail(int a_Error) {
    user_regs_struct l_Registers = Registers(m_Process);
    Number(l_Registers) = static_cast<unsigned long>(-1L); // no call at all
    SetRegisters(m_Process, l_Registers);
    if (!mRunToStop()) return;
    l_Registers = Registers(m_Process);
    Result(l_Registers) = static_cast<unsigned long>(-static_cast<long>(a_Error));
    SetRegisters(m_Process, l_Registers);
    m_Number = -1;
}

int TRACED_CHILD::Finish() {
    while (!m_bEnded) {
        Check(ptrace(PTRACE_CONT, m_Process, nullptr, nullptr), "PTRACE_CONT");
        Check(waitpid(m_Process, &m_Status, 0), "waitpid");
        m_bEnded = !WIFSTOPPED(m_Status);
    }
    return WIFEXITED(m_Status) ? WEXITSTATUS(m_Status) : -1;
}
