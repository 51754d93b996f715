// Work that must not end with its terminal.
#pragma once

#include <string>

namespace bmhost {

/// Goes on in a process of its own, in a session of its own: no Ctrl-C, no hangup and no end of the process that the
/// caller was reaches it, nor the tools that it starts. That one never returns: it waits, answers a first signal with
/// the promise on standard error, ends at the third one by that signal, and else as the work ends. To be called before
/// there is a second thread. Throws std::system_error.
void GoOnDetached(const std::string& promise);

/// Ignores what a terminal sends, as tools do that are started meanwhile.
class TerminalIgnored {
public:
    TerminalIgnored();
    TerminalIgnored(const TerminalIgnored&) = delete;
    TerminalIgnored& operator=(const TerminalIgnored&) = delete;
    ~TerminalIgnored();

private:
    struct Before;
    Before* m_before;
};

} // namespace bmhost
