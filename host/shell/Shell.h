// `bmhost shell`: calls and commands at a prompt, in one process.
#pragma once

#include "host/words/Call.h"

#include <functional>
#include <string>
#include <vector>

namespace bmhost {

class Session;
class ShellLines;

/// Runs a command for people, given its words; false when there is no such command. Otherwise `good` says whether all
/// is well. Throws UsageError for bad words.
using ShellCommand = std::function<bool(const std::vector<std::string>& words, bool& good)>;

class Shell {
public:
    explicit Shell(Session& session) : m_session(session) {}

    /// Runs until `quit` or the end of the lines; either is a normal end. Then stops what was started, and calls fin if
    /// init was called. True when nothing went wrong. Throws what the output throws, after fin.
    bool Run(ShellLines& lines, const ShellCommand& command);
    /// The session after init, which is called first if necessary.
    Session& Opened();

private:
    /// False when this was the last line.
    bool Line(const std::string& line, const ShellCommand& command);
    bool MakeCall(Call& call);
    void Close();

    Session& m_session;
    bool m_open = false;
    bool m_started = false;
    bool m_good = true;
};

} // namespace bmhost
