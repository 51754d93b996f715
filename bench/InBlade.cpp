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

bool RunInBlade(const std::string& blade, const std::vector<std::string>& options, const std::string& what) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        std::vector<const char*> words = {"bladesim", "--blade", blade.c_str()};
        for (const std::string& option : options)
            words.push_back(option.c_str());
        words.insert(words.end(), {"--", self.c_str(), Inside, what.c_str(), nullptr});
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): execv changes none of them
        ::execv(BM_BIN_DIR "/bladesim", const_cast<char* const*>(words.data()));
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
