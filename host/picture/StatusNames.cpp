// Run status, upgrade target and upgrade state by name.
#include "host/picture/StatusNames.h"

#include "host/picture/Led.h"

#include <span>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

struct NumberName {
    int m_number;
    std::string_view m_name;
};

// Nobody writes RUN_STATUS_STARTING today. The LEDs show it as they show RUN_STATUS_INITIALISING.
constexpr NumberName RunStatuses[] = {{RUN_STATUS_UNWRITTEN, "not started"},
                                      {RUN_STATUS_STARTING, "starting"},
                                      {RUN_STATUS_INITIALISING, "initialising"},
                                      {RUN_STATUS_RUNNING, "running"},
                                      {RUN_STATUS_FAILED, "failed"}};
constexpr NumberName UpgradeStates[] = {
    {UpgradeIsRunning, "in progress"}, {UpgradeIsDone, "done"}, {UpgradeHasFailed, "failed"}};

std::string_view NameOf(std::span<const NumberName> names, int number) {
    for (const NumberName& name : names) {
        if (name.m_number == number) return name.m_name;
    }
    return "unknown";
}

} // namespace

std::string_view RunStatusName(int status) {
    return NameOf(RunStatuses, status);
}

std::string RunStatusText(int status) {
    return std::string(RunStatusName(status)) + " (" + std::to_string(status) + ")";
}

UpgradeRow UpgradeOf(const CBMIParams& row) {
    UpgradeRow upgrade;
    const auto take = [&](unsigned id, int& value) {
        if (const CBMIParam* const param = row.GetParamById(id)) value = param->GetInt();
    };
    take(BMI_FW_UPDATE_TARGET, upgrade.m_target);
    take(BMI_FW_UPDATE_BAY, upgrade.m_bay);
    take(BMI_FW_UPDATE_STATE, upgrade.m_state);
    return upgrade;
}

std::string_view UpgradeStateName(int state) {
    return NameOf(UpgradeStates, state);
}

std::string UpgradeTargetText(const UpgradeRow& row) {
    return LedBayText(row.m_target == UpgradeOfModule ? row.m_bay : BaseboardBay);
}

} // namespace bmhost
