// For benchmarks: the program runs itself again in a simulated blade.
#include "bench/InBlade.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

namespace bench {

namespace {

/// The argument by which the program knows that it runs inside.
constexpr char Inside[] = "--inside";
constexpr unsigned MostSeconds = 300;

} // namespace

bool RunInBlade(const std::string& blade) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(BM_BIN_DIR "/bladesim", "bladesim", "--blade", blade.c_str(), "--", self.c_str(), Inside,
                static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool IsInBlade(int count, char** arguments) {
    if (count < 2 || std::string(arguments[1]) != Inside) return false;
    ::alarm(MostSeconds);
    return true;
}

} // namespace bench
