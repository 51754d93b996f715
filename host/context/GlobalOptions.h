// The options that every command takes.
#pragma once

#include "host/session/StorageHome.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

class Command;

struct GlobalOptions {
    std::string m_adaptor; ///< empty: the installed one
    int m_mode = 1;
    bool m_modeGiven = false; ///< looks use mode 2 unless another is given
    int m_logLevel = 0;
    std::string m_logFile;
    std::string m_storage;
    bool m_json = false;
    int m_noticeAfter = 10000;       ///< milliseconds after which a call that does not return is told of
    std::optional<double> m_timeout; ///< seconds, as it was given
    bool m_direct = false;           ///< with an adaptor of its own, even beside a resident host
    bool m_quiet = false;
    bool m_simulated = false; ///< simulated data are asked for
    bool m_wide = false;
    bool m_lasts = false;                       ///< the command has no end of its own, or one that nobody foresees
    std::vector<std::string> m_forOwnAdaptor{}; ///< the options that were given and that only an own adaptor takes
};

/// Registers them where all commands stand; `options` has their defaults from now on.
void AddGlobalOptions(Command& root, GlobalOptions& options);

/// Notes, after a line was read, what only shows then: which options were given.
void NoteGiven(const Command& root, const Command* command, GlobalOptions& options);

/// How long a command may take: as it was given, else by default that of everything that somebody waits for.
/// @param byDefault  whether there is a limit when none was given
std::optional<std::chrono::milliseconds> TimeLimit(const GlobalOptions& options, bool byDefault);

} // namespace bmhost
