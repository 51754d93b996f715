// bmhost as a process of its own, as its users have it.
#include "host/HostProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

int Checked(int a_Result, const char* a_What) {
    if (a_Result < 0) throw std::system_error(errno, std::generic_category(), a_What);
    return a_Result;
}

class DESCRIPTOR {
public:
    explicit DESCRIPTOR(int a_Descriptor) : m_Descriptor(a_Descriptor) {}
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    ~DESCRIPTOR() { close(m_Descriptor); }
    int Get() const { return m_Descriptor; }

private:
    int m_Descriptor;
};

struct PIPE {
    PIPE() { Checked(pipe2(m_Ends.data(), O_CLOEXEC), "pipe"); }
    std::array<int, 2> m_Ends{}; // to read, to write
};

int MemoryFile(const std::string& a_Text) {
    const int l_File = Checked(memfd_create("bmhost-test", MFD_CLOEXEC), "memfd_create");
    Checked(static_cast<int>(write(l_File, a_Text.data(), a_Text.size())), "write");
    Checked(static_cast<int>(lseek(l_File, 0, SEEK_SET)), "lseek");
    return l_File;
}

std::string ReadAll(int a_Descriptor) {
    std::string l_Text;
    std::array<char, 65536> l_Bytes{};
    for (ssize_t l_Count = 0;
         (l_Count = pread(a_Descriptor, l_Bytes.data(), l_Bytes.size(), static_cast<off_t>(l_Text.size()))) > 0;)
        l_Text.append(l_Bytes.data(), static_cast<std::size_t>(l_Count));
    return l_Text;
}

// Under the thread sanitizer every process stays for a second at its end, unless it is told not to.
void LingerNot() {
    static const bool s_Told = [] {
        const char* l_Options = getenv("TSAN_OPTIONS");
        return setenv("TSAN_OPTIONS",
                      (std::string("atexit_sleep_ms=0:") + (l_Options != nullptr ? l_Options : "")).c_str(), 1) == 0;
    }();
    if (!s_Told) throw std::runtime_error("cannot set TSAN_OPTIONS");
}

// A log line's "<3> [component] text", or nothing.
std::string LogPart(const std::string& a_Line) {
    const auto l_Level = a_Line.find(" <");
    return l_Level != std::string::npos && a_Line.starts_with("20") ? a_Line.substr(l_Level + 1) : "";
}

std::vector<std::string> Lines(const std::string& a_Text) {
    std::istringstream l_Stream(a_Text);
    std::vector<std::string> l_Lines;
    for (std::string l_Line; std::getline(l_Stream, l_Line);)
        l_Lines.push_back(l_Line);
    return l_Lines;
}

} // namespace

std::vector<std::string> ENDED::ErrorLines() const {
    std::vector<std::string> l_Lines = Lines(m_Err);
    std::erase_if(l_Lines, [](const std::string& a_Line) { return !LogPart(a_Line).empty(); });
    return l_Lines;
}

std::string ENDED::StubCalls() const {
    const std::string l_Mark = "<3> [stub] ";
    std::string l_Calls;
    for (const std::string& l_Line : Lines(m_Err)) {
        const std::string l_Part = LogPart(l_Line);
        if (l_Part.starts_with(l_Mark)) l_Calls += (l_Calls.empty() ? "" : " ") + l_Part.substr(l_Mark.size());
    }
    return l_Calls;
}

HOST_PROCESS::HOST_PROCESS(const std::vector<std::string>& a_Arguments, const std::string& a_Input, OUT a_Out)
    : m_Out(MemoryFile("")) {
    std::vector<std::string> l_Words = {BMHOST_FILE};
    l_Words.insert(l_Words.end(), a_Arguments.begin(), a_Arguments.end());
    std::vector<char*> l_Arguments;
    for (std::string& l_Word : l_Words)
        l_Arguments.push_back(l_Word.data());
    l_Arguments.push_back(nullptr);

    const DESCRIPTOR l_Input(MemoryFile(a_Input));
    const PIPE l_ErrorPipe;
    const PIPE l_BrokenPipe;
    close(l_BrokenPipe.m_Ends[0]);
    const DESCRIPTOR l_Broken(l_BrokenPipe.m_Ends[1]);
    const DESCRIPTOR l_ErrorEnd(l_ErrorPipe.m_Ends[1]);
    const DESCRIPTOR l_Full(Checked(open("/dev/full", O_WRONLY | O_CLOEXEC), "/dev/full"));
    m_Err = l_ErrorPipe.m_Ends[0];

    LingerNot();
    posix_spawn_file_actions_t l_Actions;
    posix_spawn_file_actions_init(&l_Actions);
    posix_spawn_file_actions_adddup2(&l_Actions, l_Input.Get(), STDIN_FILENO);
    const int l_Outs[] = {m_Out, -1, l_Broken.Get(), l_Full.Get()};
    if (a_Out == OUT::Closed) {
        posix_spawn_file_actions_addclose(&l_Actions, STDOUT_FILENO);
    } else {
        posix_spawn_file_actions_adddup2(&l_Actions, l_Outs[static_cast<std::size_t>(a_Out)], STDOUT_FILENO);
    }
    posix_spawn_file_actions_adddup2(&l_Actions, l_ErrorEnd.Get(), STDERR_FILENO);
    const int l_Error = posix_spawn(&m_Process, BMHOST_FILE, &l_Actions, nullptr, l_Arguments.data(), environ);
    posix_spawn_file_actions_destroy(&l_Actions);
    if (l_Error != 0) throw std::system_error(l_Error, std::generic_category(), BMHOST_FILE);
}

HOST_PROCESS::~HOST_PROCESS() {
    if (m_Process > 0) {
        Kill();
        waitpid(m_Process, nullptr, 0);
    }
    close(m_Out);
    close(m_Err);
}

bool HOST_PROCESS::ReadSomeError() {
    std::array<char, 4096> l_Bytes{};
    const ssize_t l_Count = read(m_Err, l_Bytes.data(), l_Bytes.size());
    if (l_Count > 0) m_ErrorText.append(l_Bytes.data(), static_cast<std::size_t>(l_Count));
    return l_Count > 0;
}

bool HOST_PROCESS::ErrorHas(const std::string& a_Text) {
    while (m_ErrorText.find(a_Text) == std::string::npos) {
        if (!ReadSomeError()) return false;
    }
    return true;
}

void HOST_PROCESS::Kill() {
    Signal(SIGKILL);
}

void HOST_PROCESS::Signal(int a_Signal) {
    kill(m_Process, a_Signal);
}

ENDED HOST_PROCESS::End() {
    while (ReadSomeError()) {
    }
    int l_Status = 0;
    Checked(waitpid(m_Process, &l_Status, 0), "waitpid");
    m_Process = -1;
    ENDED l_Ended;
    if (WIFEXITED(l_Status)) l_Ended.m_Status = WEXITSTATUS(l_Status);
    if (WIFSIGNALED(l_Status)) l_Ended.m_Signal = WTERMSIG(l_Status);
    l_Ended.m_Out = ReadAll(m_Out);
    l_Ended.m_Err = m_ErrorText;
    return l_Ended;
}

ENDED RunHost(const std::vector<std::string>& a_Arguments, const std::string& a_Input, OUT a_Out) {
    return HOST_PROCESS(a_Arguments, a_Input, a_Out).End();
}

ENDED RunStub(const std::string& a_Stub, std::vector<std::string> a_Arguments, const std::string& a_Input, OUT a_Out) {
    a_Arguments.insert(a_Arguments.begin(), {"--adaptor", StubFile(a_Stub)});
    return RunHost(a_Arguments, a_Input, a_Out);
}

std::string StubFile(const std::string& a_Stub) {
    return STUB_FOLDER "/stub_" + a_Stub + ".so";
}
