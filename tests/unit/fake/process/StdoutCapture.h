// What the code under test prints to standard output.
#pragma once

#include <string>
#include <vector>

/// Takes everything written to standard output (by whatever means) between its beginning and Stop.
class STDOUT_CAPTURE {
public:
    STDOUT_CAPTURE();
    STDOUT_CAPTURE(const STDOUT_CAPTURE&) = delete;
    STDOUT_CAPTURE& operator=(const STDOUT_CAPTURE&) = delete;
    ~STDOUT_CAPTURE();

    /// Ends the capture, the first time, and returns what was written.
    std::string Stop();
    /// The same, line by line, without the line ends.
    std::vector<std::string> StopLines();

private:
    int m_Real = -1;
    int m_File = -1;
    std::string m_Text{};
};
