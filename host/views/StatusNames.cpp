// Run status, upgrade target and upgrade state by name.
#include "host/views/StatusNames.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/views/Led.h"

#include <span>

namespace BMHOST {

using namespace BM_ADAPTOR;

namespace {

struct NAME {
    int m_Number;
    std::string_view m_Name;
};

// 2 is nobody's today: the LEDs show it as they show 3.
constexpr NAME RUN_STATUSES[] = {{RUN_STATUS_UNKNOWN, "not started"},
                                 {2, "starting"},
                                 {3, "initialising"},
                                 {RUN_STATUS_RUNNING, "running"},
                                 {RUN_STATUS_FAILED, "failed"}};
constexpr NAME UPGRADE_STATES[] = {
    {UPGRADE_IS_RUNNING, "in progress"}, {UPGRADE_IS_DONE, "done"}, {UPGRADE_HAS_FAILED, "failed"}};

std::string_view NameOf(std::span<const NAME> a_Names, int a_Number) {
    for (const NAME& l_Name : a_Names) {
        if (l_Name.m_Number == a_Number) return l_Name.m_Name;
    }
    return "unknown";
}

} // namespace

std::string_view RunStatusName(int a_Status) {
    return NameOf(RUN_STATUSES, a_Status);
}

std::string RunStatusText(int a_Status) {
    return std::string(RunStatusName(a_Status)) + " (" + std::to_string(a_Status) + ")";
}

UPGRADE_ROW UpgradeOf(const CBMIParams& a_Row) {
    UPGRADE_ROW l_Upgrade;
    const auto l_Take = [&](unsigned a_Id, int& a_Value) {
        if (const CBMIParam* const l_Param = a_Row.GetParamById(a_Id)) a_Value = l_Param->GetInt();
    };
    l_Take(BMI_FW_UPDATE_TARGET, l_Upgrade.m_Target);
    l_Take(BMI_FW_UPDATE_BAY, l_Upgrade.m_Bay);
    l_Take(BMI_FW_UPDATE_STATE, l_Upgrade.m_State);
    return l_Upgrade;
}

std::string_view UpgradeStateName(int a_State) {
    return NameOf(UPGRADE_STATES, a_State);
}

std::string UpgradeTargetText(const UPGRADE_ROW& a_Row) {
    return LedBayText(a_Row.m_Target == UPGRADE_OF_MODULE ? a_Row.m_Bay : BASEBOARD_BAY);
}

} // namespace BMHOST
