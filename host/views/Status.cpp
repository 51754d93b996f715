// `bmhost status`: run status and LEDs of the blade, and its last firmware upgrade.
#include "host/views/Status.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/Output.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/LedPanel.h"
#include "host/views/StatusNames.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <vector>

namespace BMHOST {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr int OUT_OF_SERVICE_LED = 2;
constexpr int HEALTH_LED = 3;
constexpr std::size_t RUN_STATUS_COLUMN = 2;

struct MODULE_STATUS {
    int m_Bay = BASEBOARD_BAY;
    std::string m_Name;
    std::optional<int> m_RunStatus; ///< the baseboard has none
    std::string m_OutOfService;     ///< what the LED shows: "on red"; "-" when there is none
    std::string m_Health;
};

struct BLADE_STATUS {
    bool m_Read = false; ///< every table could be
    std::vector<MODULE_STATUS> m_Modules;
    UPGRADE_ROW m_Upgrade;
};

std::string LedShows(SESSION& a_Session, LED_PLACE a_Place) {
    int l_Result = 0;
    const auto l_Row = ReadLed(a_Session, a_Place, l_Result);
    if (!l_Row) return "-";
    return LedShows(*l_Row);
}

MODULE_STATUS ModuleOf(SESSION& a_Session, int a_Bay, std::string a_Name, std::optional<int> a_RunStatus) {
    return {a_Bay, std::move(a_Name), a_RunStatus, LedShows(a_Session, {a_Bay, OUT_OF_SERVICE_LED}),
            LedShows(a_Session, {a_Bay, HEALTH_LED})};
}

BLADE_STATUS ReadStatus(SESSION& a_Session) {
    BLADE_STATUS l_Status;
    int l_BoardResult = 0;
    if (const auto l_Board = a_Session.Table(BMI_GROUP_HARDWARE_BOARD, l_BoardResult);
        l_Board != nullptr && l_Board->GetSize() > 0) {
        l_Status.m_Modules.push_back(
            ModuleOf(a_Session, BASEBOARD_BAY, TextOf(*l_Board->Get(0), BMI_HW_BOARD_PRODUCT_NAME), std::nullopt));
    }
    int l_Result = 0;
    const auto l_Table = a_Session.Table(BMI_GROUP_HARDWARE_AMC_TABLE, l_Result);
    for (int i = 0; l_Table != nullptr && i < l_Table->GetSize(); ++i) {
        const CBMIParams& l_Row = *l_Table->Get(i);
        l_Status.m_Modules.push_back(ModuleOf(a_Session, IntegerOf(l_Row, BMI_HW_AMC_BAY),
                                              TextOf(l_Row, BMI_HW_AMC_PRODUCT_NAME),
                                              IntegerOf(l_Row, BMI_HW_AMC_RUN_STATUS)));
    }
    int l_UpgradeResult = 0;
    const auto l_Upgrade = a_Session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, l_UpgradeResult);
    if (l_Upgrade != nullptr) l_Status.m_Upgrade = UpgradeOf(*l_Upgrade);
    l_Status.m_Read = l_BoardResult == SUCCESS && l_Result == SUCCESS && l_UpgradeResult == SUCCESS;
    return l_Status;
}

bool IsGood(const BLADE_STATUS& a_Status) {
    for (const MODULE_STATUS& l_Module : a_Status.m_Modules) {
        if (l_Module.m_RunStatus == RUN_STATUS_FAILED) return false;
    }
    return a_Status.m_Read && a_Status.m_Upgrade.m_State != UPGRADE_HAS_FAILED;
}

std::string UpgradeText(const UPGRADE_ROW& a_Upgrade) {
    return "last firmware upgrade: " + UpgradeTargetText(a_Upgrade) + ", " +
           std::string(UpgradeStateName(a_Upgrade.m_State)) + "\n";
}

ordered_json ModuleJson(const MODULE_STATUS& a_Module) {
    ordered_json l_Json = {{"place", LedBayText(a_Module.m_Bay)},
                           {"bay", a_Module.m_Bay},
                           {"name", BM_PLATFORM::Utf8OfBytes(a_Module.m_Name)}};
    if (a_Module.m_RunStatus) {
        l_Json["run_status"] = *a_Module.m_RunStatus;
        l_Json["run_status_name"] = RunStatusName(*a_Module.m_RunStatus);
    }
    l_Json["out_of_service_led"] = a_Module.m_OutOfService;
    l_Json["health_led"] = a_Module.m_Health;
    return l_Json;
}

} // namespace

bool Status(SESSION& a_Session, bool a_Color, std::string& a_Text) {
    const BLADE_STATUS l_Status = ReadStatus(a_Session);
    std::vector<std::vector<std::string>> l_Lines = {
        {"place", "product name", "run status", "out of service LED", "health LED"}};
    for (const MODULE_STATUS& l_Module : l_Status.m_Modules) {
        l_Lines.push_back({LedBayText(l_Module.m_Bay), l_Module.m_Name,
                           l_Module.m_RunStatus ? RunStatusText(*l_Module.m_RunStatus) : "-", l_Module.m_OutOfService,
                           l_Module.m_Health});
    }
    a_Text += AlignedTable(l_Lines, a_Color, [&](std::size_t a_Line, std::size_t a_Column) -> const char* {
        if (a_Column != RUN_STATUS_COLUMN) return nullptr;
        const auto l_RunStatus = l_Status.m_Modules[a_Line - 1].m_RunStatus;
        if (l_RunStatus == RUN_STATUS_RUNNING) return "\033[92m";
        return l_RunStatus == RUN_STATUS_FAILED ? "\033[91m" : nullptr;
    });
    a_Text += "\n" + UpgradeText(l_Status.m_Upgrade);
    return IsGood(l_Status);
}

bool StatusJson(SESSION& a_Session, std::string& a_Text) {
    const BLADE_STATUS l_Status = ReadStatus(a_Session);
    ordered_json l_Modules = ordered_json::array();
    for (const MODULE_STATUS& l_Module : l_Status.m_Modules)
        l_Modules.push_back(ModuleJson(l_Module));
    const ordered_json l_Upgrade = {{"place", UpgradeTargetText(l_Status.m_Upgrade)},
                                    {"state", l_Status.m_Upgrade.m_State},
                                    {"state_name", UpgradeStateName(l_Status.m_Upgrade.m_State)}};
    const bool l_Good = IsGood(l_Status);
    const ordered_json l_Line = {{"op", "status"}, {"good", l_Good}, {"modules", l_Modules}, {"upgrade", l_Upgrade}};
    a_Text += BM_PLATFORM::EscapedJson(l_Line.dump()) + "\n";
    return l_Good;
}

} // namespace BMHOST
