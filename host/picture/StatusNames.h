// Run status, upgrade target and upgrade state by name.
#pragma once

#include "common/veldo_common_protocol.h"

#include "bm/Params.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace bmhost {

/// "initialising"; "unknown" for a number that has no name.
std::string_view RunStatusName(int status);
/// "initialising (3)".
std::string RunStatusText(int status);

constexpr int UpgradeIsRunning = BM_ADAPTOR::UPGRADE_REQUESTED;
constexpr int UpgradeIsDone = BM_ADAPTOR::UPGRADE_DONE;
constexpr int UpgradeHasFailed = BM_ADAPTOR::UPGRADE_FAILED;

constexpr int UpgradeOfBaseboard = BM_ADAPTOR::UPGRADETARGET_BASEBOARD;
constexpr int UpgradeOfModule = BM_ADAPTOR::UPGRADETARGET_MODULE;

/// The state of a firmware upgrade, as a row or an event reports it.
struct UpgradeRow {
    int m_target = UpgradeOfBaseboard;
    int m_bay = 0;
    int m_state = UpgradeIsDone;
};

/// Values that the row does not have keep their defaults.
UpgradeRow UpgradeOf(const BM_ADAPTOR::CBMIParams& row);
/// "in progress", "done", "failed".
std::string_view UpgradeStateName(int state);
/// "baseboard", "AMC bay 3", "RTM".
std::string UpgradeTargetText(const UpgradeRow& row);

} // namespace bmhost
