// `bmhost shell`: calls and commands at a prompt, in one process.
#pragma once

#include "host/words/Call.h"

#include <functional>
#include <string>
#include <vector>

namespace BMHOST {

class SESSION;
class SHELL_LINES;

/// Does a command for people, given its words; false when there is no such command. Otherwise `a_Good` becomes whether
/// all is right. Throws USAGE_ERROR for bad words.
using SHELL_COMMAND = std::function<bool(const std::vector<std::string>& a_Words, bool& a_Good)>;

class SHELL {
public:
    explicit SHELL(SESSION& a_Session) : m_Session(a_Session) {}

    /// Until `quit` or the end of the lines, which no error is; then stops what was started and calls fin, if init was
    /// called. True when nothing went wrong. Throws what the output throws, after fin.
    bool Run(SHELL_LINES& a_Lines, const SHELL_COMMAND& a_Command);
    /// The session after its init, which is called when it was not yet.
    SESSION& Opened();

private:
    /// False when it was the last one.
    bool Line(const std::string& a_Line, const SHELL_COMMAND& a_Command);
    bool Call(CALL& a_Call);
    void Close();

    SESSION& m_Session;
    bool m_Open = false;
    bool m_Started = false;
    bool m_Good = true;
};

} // namespace BMHOST
