// bladesim's command line for bringing up a blade.
#pragma once

#include "sim/life/Inside.h"

#include <optional>
#include <string>
#include <utility>

namespace BLADESIM {

struct COMMAND_LINE {
    std::string m_Blade = "front-board-only";                  ///< name or file
    std::optional<std::pair<unsigned, std::string>> m_DumpFru; ///< only write this FRU's image to that file
    OPTIONS m_Options;                                         ///< but for blade and paths
};

/// Returns the status to exit with, when there is nothing to be done: bad usage, help, version.
std::optional<int> ParseCommandLine(int a_Count, char** a_Arguments, COMMAND_LINE& a_Line);

} // namespace BLADESIM
