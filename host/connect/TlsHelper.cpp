// The program that speaks TLS for a command: the command itself loads none.
#include "host/connect/TlsHelper.h"

#include "host/connect/HelperWords.h"
#include "host/words/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

using bm_dev::UniqueFd;

constexpr int ToldAll = 1000; // milliseconds that it gets to say goodbye to the other side
constexpr std::size_t LongestLine = 4096;
constexpr const char* NotStarted = "exec ";

[[noreturn]] void FailHelper(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Between fork and exec: only what a signal handler may call, too.
[[noreturn]] void BecomeHelper(const char* program, char* const* words, int socket, int lines, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(EXIT_FAILURE); // it has ended in the meantime
    if (dup2(socket, STDIN_FILENO) >= 0 && dup2(lines, STDOUT_FILENO) >= 0) execv(program, words);
    std::array<char, 32> text{};
    const int size = snprintf(text.data(), text.size(), "%s%d\n", NotStarted, errno);
    const ssize_t written = write(lines, text.data(), static_cast<std::size_t>(size));
    _exit(written > 0 ? EXIT_FAILURE : EXIT_SUCCESS);
}

} // namespace

std::string HelperFile() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto installed = folder.parent_path() / "libexec" / "bmhost" / HelperProgram;
    const auto beside = folder / HelperProgram;
    return std::filesystem::exists(beside, error) ? beside : installed;
}

TlsHelper::TlsHelper(const std::string& program, const Elsewhere& place, UniqueFd& socket)
    : m_url(place.Url()),
      m_program(program) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) FailHelper("socketpair");
    socket = UniqueFd(ends[0]);
    const UniqueFd its(ends[1]);
    if (fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) FailHelper("fcntl");
    std::array<int, 2> pipes{};
    if (pipe2(pipes.data(), O_CLOEXEC) != 0) FailHelper("pipe2");
    m_lines = UniqueFd(pipes[0]);
    const UniqueFd written(pipes[1]);
    if (fcntl(pipes[0], F_SETFL, O_NONBLOCK) != 0) FailHelper("fcntl");
    std::string name = HelperProgram;
    std::string host = place.m_host;
    std::string port = std::to_string(place.m_port);
    std::string trusted = place.m_tlsCa;
    const std::array<char*, 5> words = {name.data(), host.data(), port.data(),
                                        trusted.empty() ? nullptr : trusted.data(), nullptr};
    const pid_t parent = getpid();
    m_process = fork();
    if (m_process < 0) FailHelper("fork");
    if (m_process == 0) BecomeHelper(program.c_str(), words.data(), its.Get(), written.Get(), parent);
}

TlsHelper::~TlsHelper() {
    if (m_process <= 0) return;
    if (m_ready) { // its end is seen in the pipe's
        pollfd wanted{m_lines.Get(), POLLIN, 0};
        while (poll(&wanted, 1, ToldAll) > 0 && ReadMore()) {
        }
    }
    kill(m_process, SIGKILL);
    End();
}

void TlsHelper::End() {
    if (m_process <= 0) return;
    while (waitpid(m_process, &m_status, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
}

// False when nothing comes any more.
bool TlsHelper::ReadMore() {
    std::array<char, 1024> bytes{};
    const ssize_t got = read(m_lines.Get(), bytes.data(), bytes.size());
    if (got < 0) return errno == EAGAIN || errno == EINTR;
    if (m_read.size() < LongestLine) m_read.append(bytes.data(), static_cast<std::size_t>(got));
    return got > 0;
}

std::string TlsHelper::NextLine() {
    const std::size_t end = m_read.find('\n');
    if (end == std::string::npos) return "";
    std::string line = m_read.substr(0, end);
    m_read.erase(0, end + 1);
    return line;
}

// It has ended without a word.
std::string TlsHelper::EndText() {
    End();
    return std::string(HelperProgram) + " has ended" +
           (WIFSIGNALED(m_status) ? " (signal " + std::to_string(WTERMSIG(m_status)) + ")" : std::string());
}

void TlsHelper::AwaitReady(const Deadline& deadline) {
    std::string line;
    while ((line = NextLine()).empty()) {
        WaitFor(m_lines.Get(), POLLIN, deadline);
        if (!ReadMore() && m_read.find('\n') == std::string::npos) throw NotAdmitted(m_url + ": " + EndText());
    }
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string word = line.substr(0, blank);
    const std::string text = line.substr(std::min(blank + 1, line.size()));
    m_ready = word == HelperReady;
    if (m_ready) return;
    if (line.starts_with(NotStarted)) {
        const int reason = std::stoi(text);
        throw NotAdmitted(m_program + ": " + strerror(reason) +
                          (reason == ENOENT ? "; https:// needs it, and it is installed with bmhost" : ""));
    }
    if (word == HelperUsage) throw UsageError(text);
    if (word == HelperUnreachable) throw Unreachable(m_url + ": " + text);
    throw NotAdmitted(m_url + ": " + text);
}

std::string TlsHelper::Fault() {
    // It tells before it closes the connection; when it was killed, nothing comes, and then the end.
    pollfd wanted{m_lines.Get(), POLLIN, 0};
    while (m_read.find('\n') == std::string::npos && poll(&wanted, 1, ToldAll) > 0) {
        if (!ReadMore() && m_read.find('\n') == std::string::npos) return EndText();
    }
    const std::string line = NextLine();
    if (line.starts_with(HelperEnded)) return "";
    return line.substr(std::min(line.find(' ') + 1, line.size()));
}

} // namespace bmhost
