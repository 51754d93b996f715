// `bmhost shell`: calls and commands at a prompt, in one process.
#pragma once

#include "host/words/Call.h"

#include <functional>
#include <string>
#include <vector>

namespace bmhost {

class Session;
class ShellLines;

/// Does a command for people, given its words; false when there is no such command. Otherwise `good` becomes whether
/// all is right. Throws UsageError for bad words.
using ShellCommand = std::function<bool(const std::vector<std::string>& words, bool& good)>;

class Shell {
public:
    explicit Shell(Session& session) : m_session(session) {}

    /// Until `quit` or the end of the lines, which no error is; then stops what was started and calls fin, if init was
    /// called. True when nothing went wrong. Throws what the output throws, after fin.
    bool Run(ShellLines& lines, const ShellCommand& command);
    /// The session after its init, which is called when it was not yet.
    Session& Opened();

private:
    /// False when it was the last one.
    bool Line(const std::string& line, const ShellCommand& command);
    bool MakeCall(Call& call);
    void Close();

    Session& m_session;
    bool m_open = false;
    bool m_started = false;
    bool m_good = true;
};

} // namespace bmhost
