// For benchmarks: the product's programs, started and watched from outside.
#include "bench/Programs.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>

namespace bench {

void Fail(const std::string& reason) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, reason.c_str());
    std::_Exit(1);
}

pid_t Started(const Words& words) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast): execv's
    arguments.push_back(nullptr);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

int StatusOf(pid_t child) {
    int status = 0;
    if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) Fail("a program was ended by a signal");
    return WEXITSTATUS(status);
}

void Ran(const Words& words) {
    if (const int status = StatusOf(Started(words)); status > 1)
        Fail(words[0] + " " + words[1] + ": status " + std::to_string(status));
}

uint64_t AnonymousMemoryOf(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("RssAnon:", 0) == 0) return std::stoull(line.substr(8));
    }
    Fail("the memory of a program cannot be read");
}

Program::~Program() {
    ::kill(m_process, SIGTERM);
    StatusOf(m_process);
}

} // namespace bench
