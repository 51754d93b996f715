// Run status, upgrade target and upgrade state by name.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace bmhost {

constexpr int RunStatusUnknown = 1; ///< of a bay that nobody gave one
constexpr int RunStatusRunning = 4;
constexpr int RunStatusFailed = 5;

/// "initialising"; "unknown" for a number that has no name.
std::string_view RunStatusName(int status);
/// "initialising (3)".
std::string RunStatusText(int status);

constexpr int UpgradeIsRunning = 0;
constexpr int UpgradeIsDone = 2;
constexpr int UpgradeHasFailed = 3;

constexpr int UpgradeOfBaseboard = 0;
constexpr int UpgradeOfModule = 1;

/// The state of a firmware upgrade as a row or an event carries it.
struct UpgradeRow {
    int m_target = UpgradeOfBaseboard;
    int m_bay = 0;
    int m_state = UpgradeIsDone;
};

/// Whatever the row does not have stays as above.
UpgradeRow UpgradeOf(const BM_ADAPTOR::CBMIParams& row);
/// "in progress", "done", "failed".
std::string_view UpgradeStateName(int state);
/// "baseboard", "AMC bay 3", "RTM".
std::string UpgradeTargetText(const UpgradeRow& row);

} // namespace bmhost
