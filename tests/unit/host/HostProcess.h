// bmhost as a separate process, as its users run it.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct Ended {
    int m_status = -1; ///< exit status, or -1 when a signal ended it
    int m_signal = 0;
    std::string m_out{};
    std::string m_err{};

    /// Lines of standard error, without bmhost's log lines.
    std::vector<std::string> ErrorLines() const;
    /// The calls that a stub adaptor noted in the log, in order: "Init Read Fin".
    std::string StubCalls() const;
};

/// What standard output is.
enum class Out { Kept, Closed, BrokenPipe, Full };

class HostProcess {
public:
    /// Starts bmhost with these arguments.
    explicit HostProcess(const std::vector<std::string>& arguments, const std::string& input = "", Out out = Out::Kept);
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;
    ~HostProcess();

    /// Reads standard error until it has this text, or has ended.
    bool ErrorHas(const std::string& text);
    pid_t Process() const { return m_process; }
    void Kill();
    void Signal(int signal);
    /// Waits for the end.
    Ended End();

private:
    bool ReadSomeError();

    pid_t m_process = -1;
    int m_out = -1; // a memory file
    int m_err = -1; // a pipe
    std::string m_errorText{};
};

/// Runs bmhost to its end.
Ended RunHost(const std::vector<std::string>& arguments, const std::string& input = "", Out out = Out::Kept);
/// The same with a stub adaptor: RunStub("good", {"--json", "init"}).
Ended RunStub(const std::string& stub, std::vector<std::string> arguments, const std::string& input = "",
              Out out = Out::Kept);
/// The stub's library.
std::string StubFile(const std::string& stub);
