// The options of bmhostd: of its command line, and of its configuration file.
#pragma once

#include "host/resident/Resident.h"

#include <optional>
#include <string>
#include <vector>

namespace bmhost {

struct DaemonOptions {
    std::string m_adaptor; ///< empty: the installed one
    int m_mode = 1;
    int m_logLevel = 0;
    std::string m_logFile;
    std::string m_storage;
    std::string m_state; ///< the folder of the history of upgrades and of firmware images
    bool m_json = false;
    bool m_noStart = false;
    int m_noticeAfter = 10000; ///< milliseconds after which a call that does not return is told of
    ResidentSettings m_settings;

    std::string m_answer; ///< to --help or --version: nothing else is wanted
};

/// Throws UsageError naming what was expected.
DaemonOptions ReadDaemonOptions(const std::vector<std::string>& words);

} // namespace bmhost
