// bmhost as a process of its own, as its users have it.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct ENDED {
    int m_Status = -1; ///< exit status, or -1 when a signal ended it
    int m_Signal = 0;
    std::string m_Out{};
    std::string m_Err{};

    /// Lines of standard error, without bmhost's log lines.
    std::vector<std::string> ErrorLines() const;
    /// The calls that a stub adaptor noted in the log, in order: "Init Read Fin".
    std::string StubCalls() const;
};

/// What standard output is.
enum class OUT { Kept, Closed, BrokenPipe, Full };

class HOST_PROCESS {
public:
    /// Starts bmhost with these arguments.
    explicit HOST_PROCESS(const std::vector<std::string>& a_Arguments, const std::string& a_Input = "",
                          OUT a_Out = OUT::Kept);
    HOST_PROCESS(const HOST_PROCESS&) = delete;
    HOST_PROCESS& operator=(const HOST_PROCESS&) = delete;
    ~HOST_PROCESS();

    /// Reads standard error until it has this text, or has ended.
    bool ErrorHas(const std::string& a_Text);
    void Kill();
    void Signal(int a_Signal);
    /// Waits for the end.
    ENDED End();

private:
    bool ReadSomeError();

    pid_t m_Process = -1;
    int m_Out = -1; // a memory file
    int m_Err = -1; // a pipe
    std::string m_ErrorText{};
};

/// Runs bmhost to its end.
ENDED RunHost(const std::vector<std::string>& a_Arguments, const std::string& a_Input = "", OUT a_Out = OUT::Kept);
/// The same with a stub adaptor: RunStub("good", {"--json", "init"}).
ENDED RunStub(const std::string& a_Stub, std::vector<std::string> a_Arguments, const std::string& a_Input = "",
              OUT a_Out = OUT::Kept);
/// The stub's library.
std::string StubFile(const std::string& a_Stub);
