// The options that every command takes.
#pragma once

#include <string>

namespace bmhost {

class Command;

struct GlobalOptions {
    std::string m_adaptor; ///< empty: the installed one
    int m_mode = 1;
    int m_logLevel = 0;
    std::string m_logFile;
    std::string m_storage;
    bool m_json = false;
    int m_noticeAfter = 10000; ///< milliseconds after which a call that does not return is told of
};

/// Registers them where all commands stand; `options` has their defaults from now on.
void AddGlobalOptions(Command& root, GlobalOptions& options);

/// A file of bmhost's own in the user's state folder: $XDG_STATE_HOME, or ~/.local/state.
std::string StateFile(const std::string& name);

} // namespace bmhost
