// Run status, upgrade target and upgrade state by name.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace BMHOST {

constexpr int RUN_STATUS_UNKNOWN = 1; ///< of a bay that nobody gave one
constexpr int RUN_STATUS_RUNNING = 4;
constexpr int RUN_STATUS_FAILED = 5;

/// "initialising"; "unknown" for a number that has no name.
std::string_view RunStatusName(int a_Status);
/// "initialising (3)".
std::string RunStatusText(int a_Status);

constexpr int UPGRADE_IS_RUNNING = 0;
constexpr int UPGRADE_IS_DONE = 2;
constexpr int UPGRADE_HAS_FAILED = 3;

constexpr int UPGRADE_OF_BASEBOARD = 0;
constexpr int UPGRADE_OF_MODULE = 1;

/// The state of a firmware upgrade as a row or an event carries it.
struct UPGRADE_ROW {
    int m_Target = UPGRADE_OF_BASEBOARD;
    int m_Bay = 0;
    int m_State = UPGRADE_IS_DONE;
};

/// Whatever the row does not have stays as above.
UPGRADE_ROW UpgradeOf(const BM_ADAPTOR::CBMIParams& a_Row);
/// "in progress", "done", "failed".
std::string_view UpgradeStateName(int a_State);
/// "baseboard", "AMC bay 3", "RTM".
std::string UpgradeTargetText(const UPGRADE_ROW& a_Row);

} // namespace BMHOST
