// bmhost as a separate process, as its users run it.
#include "host/HostProcess.h"

#include "bm_dev/UniqueFd.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

int Checked(int result, const char* what) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
    return result;
}

struct Pipe {
    Pipe() { Checked(pipe2(m_ends.data(), O_CLOEXEC), "pipe"); }
    std::array<int, 2> m_ends{}; // to read, to write
};

int MemoryFile(const std::string& text) {
    const int file = Checked(memfd_create("bmhost-test", MFD_CLOEXEC), "memfd_create");
    Checked(static_cast<int>(write(file, text.data(), text.size())), "write");
    Checked(static_cast<int>(lseek(file, 0, SEEK_SET)), "lseek");
    return file;
}

std::string ReadAll(int descriptor) {
    std::string text;
    std::array<char, 65536> bytes{};
    for (ssize_t count = 0;
         (count = pread(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(text.size()))) > 0;)
        text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
}

// The thread sanitizer keeps every process for a second at its end, unless this option is set.
void LingerNot() {
    static const bool told = [] {
        const char* options = getenv("TSAN_OPTIONS");
        return setenv("TSAN_OPTIONS", (std::string("atexit_sleep_ms=0:") + (options != nullptr ? options : "")).c_str(),
                      1) == 0;
    }();
    if (!told) throw std::runtime_error("cannot set TSAN_OPTIONS");
}

// A log line's "<3> [component] text", or nothing.
std::string LogPart(const std::string& line) {
    const auto level = line.find(" <");
    return level != std::string::npos && line.starts_with("20") ? line.substr(level + 1) : "";
}

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

std::vector<std::string> Ended::ErrorLines() const {
    std::vector<std::string> lines = Lines(m_err);
    std::erase_if(lines, [](const std::string& line) { return !LogPart(line).empty(); });
    return lines;
}

std::string Ended::StubCalls() const {
    const std::string mark = "<3> [stub] ";
    std::string calls;
    for (const std::string& line : Lines(m_err)) {
        const std::string part = LogPart(line);
        if (part.starts_with(mark)) calls += (calls.empty() ? "" : " ") + part.substr(mark.size());
    }
    return calls;
}

HostProcess::HostProcess(const std::vector<std::string>& arguments, const std::string& input, Out out)
    : m_out(MemoryFile("")) {
    std::vector<std::string> words = {BMHOST_FILE};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    const bm_dev::UniqueFd inputFile(MemoryFile(input));
    const Pipe errorPipe;
    const Pipe brokenPipe;
    close(brokenPipe.m_ends[0]);
    const bm_dev::UniqueFd broken(brokenPipe.m_ends[1]);
    const bm_dev::UniqueFd errorEnd(errorPipe.m_ends[1]);
    const bm_dev::UniqueFd full(Checked(open("/dev/full", O_WRONLY | O_CLOEXEC), "/dev/full"));
    m_err = errorPipe.m_ends[0];

    LingerNot();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputFile.Get(), STDIN_FILENO);
    const int outs[] = {m_out, -1, broken.Get(), full.Get()};
    if (out == Out::Closed) {
        posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_adddup2(&actions, outs[static_cast<std::size_t>(out)], STDOUT_FILENO);
    }
    posix_spawn_file_actions_adddup2(&actions, errorEnd.Get(), STDERR_FILENO);
    // A shell has what it starts in the background ignore Ctrl-C, and so would bmhost.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t interrupts;
    sigemptyset(&interrupts);
    sigaddset(&interrupts, SIGINT);
    sigaddset(&interrupts, SIGQUIT);
    posix_spawnattr_setsigdefault(&attributes, &interrupts);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawn(&m_process, BMHOST_FILE, &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), BMHOST_FILE);
}

HostProcess::~HostProcess() {
    if (m_process > 0) {
        Kill();
        waitpid(m_process, nullptr, 0);
    }
    close(m_out);
    close(m_err);
}

bool HostProcess::ReadSomeError() {
    std::array<char, 4096> bytes{};
    const ssize_t count = read(m_err, bytes.data(), bytes.size());
    if (count > 0) m_errorText.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
}

bool HostProcess::ErrorHas(const std::string& text) {
    while (m_errorText.find(text) == std::string::npos) {
        if (!ReadSomeError()) return false;
    }
    return true;
}

void HostProcess::Kill() {
    Signal(SIGKILL);
}

void HostProcess::Signal(int signal) {
    kill(m_process, signal);
}

Ended HostProcess::End() {
    while (ReadSomeError()) {
    }
    int status = 0;
    Checked(waitpid(m_process, &status, 0), "waitpid");
    m_process = -1;
    Ended ended;
    if (WIFEXITED(status)) ended.m_status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) ended.m_signal = WTERMSIG(status);
    ended.m_out = ReadAll(m_out);
    ended.m_err = m_errorText;
    return ended;
}

Ended RunHost(const std::vector<std::string>& arguments, const std::string& input, Out out) {
    return HostProcess(arguments, input, out).End();
}

namespace {

// The blade's lock and the history of upgrades belong to one run, not to the machine.
class RunFolder {
public:
    RunFolder() : m_folder(testing::TempDir() + "bmhost-run-" + std::to_string(getpid())) {
        std::filesystem::create_directories(m_folder);
        setenv("BLADESIM_RUN_DIR", m_folder.c_str(), 1);
    }
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;
    ~RunFolder() {
        unsetenv("BLADESIM_RUN_DIR");
        std::filesystem::remove_all(m_folder);
    }

private:
    std::string m_folder;
};

} // namespace

Ended RunStub(const std::string& stub, std::vector<std::string> arguments, const std::string& input, Out out) {
    arguments.insert(arguments.begin(), {"--adaptor", StubFile(stub)});
    const RunFolder folder;
    return RunHost(arguments, input, out);
}

std::string StubFile(const std::string& stub) {
    return STUB_FOLDER "/stub_" + stub + ".so";
}
