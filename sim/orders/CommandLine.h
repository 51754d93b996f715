// bladesim's command line for bringing up a blade.
#pragma once

#include "sim/life/Inside.h"

#include <optional>
#include <string>
#include <utility>

namespace bladesim {

struct CommandLine {
    std::string m_blade = "front-board-only";                  ///< name or file
    std::optional<std::pair<unsigned, std::string>> m_dumpFru; ///< only write this FRU's image to that file
    std::string m_replay; ///< the recording that answers; empty: the controller does
    Options m_options;    ///< except blade and paths
};

/// Returns the status to exit with when there is nothing to do: bad usage, help, version.
std::optional<int> ParseCommandLine(int count, char** arguments, CommandLine& line);

} // namespace bladesim
