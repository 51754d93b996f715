// `bmhost status`: run status and LEDs of the blade, and its last firmware upgrade.
#include "host/views/Status.h"

#include "common/veldo_common_protocol.h"
#include "host/output/Output.h"
#include "host/output/TextOutput.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/LedPanel.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <vector>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr std::size_t RunStatusColumn = 2;

struct ModuleStatus {
    int m_bay = BaseboardBay;
    std::string m_name;
    std::optional<int> m_runStatus; ///< the baseboard has none
    std::string m_outOfService;     ///< what the LED shows: "on red"; "-" when there is none
    std::string m_health;
};

struct BladeStatus {
    bool m_read = false; ///< every table could be read
    std::vector<ModuleStatus> m_modules;
    UpgradeRow m_upgrade;
};

std::string LedShows(Session& session, LedPlace place) {
    int result = 0;
    const auto row = ReadLed(session, place, result);
    if (!row) return "-";
    return bmhost::LedShows(*row);
}

ModuleStatus ModuleOf(Session& session, int bay, std::string name, std::optional<int> runStatus) {
    return {bay, std::move(name), runStatus, LedShows(session, {bay, HOST_LED_OUT_OF_SERVICE}),
            LedShows(session, {bay, HOST_LED_HEALTH})};
}

BladeStatus ReadStatus(Session& session) {
    BladeStatus status;
    int boardResult = 0;
    if (const auto board = session.Table(BMI_GROUP_HARDWARE_BOARD, boardResult);
        board != nullptr && board->GetSize() > 0) {
        status.m_modules.push_back(
            ModuleOf(session, BaseboardBay, TextOf(*board->Get(0), BMI_HW_BOARD_PRODUCT_NAME), std::nullopt));
    }
    int result = 0;
    const auto table = session.Table(BMI_GROUP_HARDWARE_AMC_TABLE, result);
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
        const CBMIParams& row = *table->Get(i);
        status.m_modules.push_back(ModuleOf(session, IntegerOf(row, BMI_HW_AMC_BAY),
                                            TextOf(row, BMI_HW_AMC_PRODUCT_NAME),
                                            IntegerOf(row, BMI_HW_AMC_RUN_STATUS)));
    }
    int upgradeResult = 0;
    const auto upgrade = session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, upgradeResult);
    if (upgrade != nullptr) status.m_upgrade = UpgradeOf(*upgrade);
    status.m_read = boardResult == Success && result == Success && upgradeResult == Success;
    return status;
}

bool IsGood(const BladeStatus& status) {
    for (const ModuleStatus& module : status.m_modules) {
        if (module.m_runStatus == RUN_STATUS_FAILED) return false;
    }
    return status.m_read && status.m_upgrade.m_state != UpgradeHasFailed;
}

std::string UpgradeText(const UpgradeRow& upgrade) {
    return "last firmware upgrade: " + UpgradeTargetText(upgrade) + ", " +
           std::string(UpgradeStateName(upgrade.m_state)) + "\n";
}

ordered_json ModuleJson(const ModuleStatus& module) {
    ordered_json fields = {
        {"place", LedBayText(module.m_bay)}, {"bay", module.m_bay}, {"name", bm_dev::Utf8OfBytes(module.m_name)}};
    if (module.m_runStatus) {
        fields["run_status"] = *module.m_runStatus;
        fields["run_status_name"] = RunStatusName(*module.m_runStatus);
    }
    fields["out_of_service_led"] = module.m_outOfService;
    fields["health_led"] = module.m_health;
    return fields;
}

} // namespace

bool Status(Session& session, bool color, std::string& text) {
    const BladeStatus status = ReadStatus(session);
    std::vector<std::vector<std::string>> lines = {
        {"place", "product name", "run status", "out of service LED", "health LED"}};
    for (const ModuleStatus& module : status.m_modules) {
        lines.push_back({LedBayText(module.m_bay), module.m_name,
                         module.m_runStatus ? RunStatusText(*module.m_runStatus) : "-", module.m_outOfService,
                         module.m_health});
    }
    text += AlignedTable(lines, color, [&](std::size_t line, std::size_t column) -> const char* {
        if (column != RunStatusColumn) return nullptr;
        const auto runStatus = status.m_modules[line - 1].m_runStatus;
        if (runStatus == RUN_STATUS_RUNNING) return "92";
        return runStatus == RUN_STATUS_FAILED ? "91" : nullptr;
    });
    text += "\n" + UpgradeText(status.m_upgrade);
    return IsGood(status);
}

bool StatusJson(Session& session, std::string& text) {
    const BladeStatus status = ReadStatus(session);
    ordered_json modules = ordered_json::array();
    for (const ModuleStatus& module : status.m_modules)
        modules.push_back(ModuleJson(module));
    const ordered_json upgrade = {{"place", UpgradeTargetText(status.m_upgrade)},
                                  {"state", status.m_upgrade.m_state},
                                  {"state_name", UpgradeStateName(status.m_upgrade.m_state)}};
    const bool good = IsGood(status);
    const ordered_json line = {{"op", "status"}, {"good", good}, {"modules", modules}, {"upgrade", upgrade}};
    text += bm_dev::EscapedJson(line.dump()) + "\n";
    return good;
}

} // namespace bmhost
