// The options that every command takes.
#pragma once

#include "host/client/HostClient.h"
#include "host/session/StorageHome.h"

#include <chrono>
#include <memory>
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
    std::string m_connect; ///< URL of the web door of a blade elsewhere
    std::string m_account;
    std::string m_passwordFile;
    std::string m_tlsCa;
    std::shared_ptr<const Elsewhere> m_elsewhere{}; ///< what these four say, once they were taken
    bool m_lasts = false;                           ///< the command has no end of its own, or one that nobody foresees
    std::vector<std::string> m_forOwnAdaptor{};     ///< the options that were given and that only an own adaptor takes
};

/// Registers them where all commands stand; `options` has their defaults from now on.
void AddGlobalOptions(Command& root, GlobalOptions& options);

/// Notes, after a line was read, what only shows then: which options were given.
void NoteGiven(const Command& root, const Command* command, GlobalOptions& options);

/// Takes what says that the blade is elsewhere, and who asks there; reads the password. Throws UsageError where that
/// cannot be meant, with this command too.
void TakeElsewhere(const Command& command, GlobalOptions& options);
/// Throws UsageError when the command is for the machine that it runs on, and the blade is elsewhere.
void CheckIsNotElsewhere(const Command& command, const GlobalOptions& options);
/// Where the host is that a command asks.
HostPlace PlaceOf(const GlobalOptions& options);

/// How long a command may take: as it was given, else by default that of everything that somebody waits for.
/// @param byDefault  whether there is a limit when none was given
std::optional<std::chrono::milliseconds> TimeLimit(const GlobalOptions& options, bool byDefault);

} // namespace bmhost
