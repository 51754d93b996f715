// `bmhost shell`: calls and commands at a prompt, in one process.
#pragma once

#include "host/picture/Picture.h"
#include "host/words/Call.h"

#include <functional>
#include <string>
#include <vector>

namespace bmhost {

class Output;
class Session;
struct MadeCall;
class ShellLines;

/// Does what a line asks for, and returns whether all was right. Throws UsageError for words that cannot be meant.
using ShellCommand = std::function<bool(const std::vector<std::string>& words)>;

class Shell {
public:
    Shell(Session& session, Output& output) : m_session(&session), m_output(&output) {}
    /// For lines that need neither session nor output of the shell's own; it takes Run and Quit only.
    Shell() = default;

    /// Until it is told to quit, or the lines end, which is no error; then stops what was started and calls fin, if
    /// init was called. True when nothing went wrong. Throws what the output throws, after fin.
    bool Run(ShellLines& lines, const ShellCommand& command);
    /// This line is the last.
    void Quit() { m_more = false; }
    /// The session after its init, which is called when it was not yet.
    Session& Opened();
    /// Makes a call and shows what it gave.
    bool Make(Call& call);
    /// What the last init, start and stop of this shell gave.
    const HostFacts& Facts() const { return m_facts; }

private:
    void Keep(const Call& call, const MadeCall& made);
    void Close();

    Session* m_session = nullptr;
    Output* m_output = nullptr;
    HostFacts m_facts;
    bool m_open = false;
    bool m_started = false;
    bool m_good = true;
    bool m_more = true;
};

} // namespace bmhost
