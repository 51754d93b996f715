// For benchmarks: the program runs itself again in a simulated blade.
#include "bench/InBlade.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

namespace BENCH {

namespace {

/// The argument by which the program knows that it runs inside.
constexpr char g_Inside[] = "--inside";
constexpr unsigned g_MostSeconds = 300;

} // namespace

bool RunInBlade(const std::string& a_Blade) {
    const std::string l_Self = std::filesystem::read_symlink("/proc/self/exe");
    std::fflush(stdout);
    const pid_t l_Child = ::fork();
    if (l_Child == 0) {
        ::execl(BM_BIN_DIR "/bladesim", "bladesim", "--blade", a_Blade.c_str(), "--", l_Self.c_str(), g_Inside,
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int l_Status = 0;
    return ::waitpid(l_Child, &l_Status, 0) == l_Child && WIFEXITED(l_Status) && WEXITSTATUS(l_Status) == 0;
}

bool IsInBlade(int a_Count, char** a_Arguments) {
    if (a_Count < 2 || std::string(a_Arguments[1]) != g_Inside) return false;
    ::alarm(g_MostSeconds);
    return true;
}

} // namespace BENCH
