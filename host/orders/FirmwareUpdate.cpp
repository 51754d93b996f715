// A firmware upgrade begun.
#include "host/orders/OrderKinds.h"
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/words/Error.h"

#include <algorithm>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

struct UpgradeWish {
    UpgradeRow m_place{};
    std::string m_path; ///< of the image, as the adaptor gets it
    std::string m_name; ///< as the client named it
    std::string m_sha256;
    bool m_dryRun = false;
};

UpgradeWish UpgradeWishOf(const OrderValues& values) {
    values.Only({"target", "bay", "name", "path", "sha256", "dry_run"});
    UpgradeWish wish;
    const std::string target = values.OneOf("target", {"board", "amc", "rtm"});
    if (target == "amc") {
        wish.m_place = {UpgradeOfModule, values.Number("bay", FirstAmcBay, LastAmcBay), UpgradeIsRunning};
    } else {
        if (values.Has("bay")) throw UsageError("firmware update: --bay goes with --target amc only");
        wish.m_place = target == "rtm" ? UpgradeRow{UpgradeOfModule, RtmBay, UpgradeIsRunning}
                                       : UpgradeRow{UpgradeOfBaseboard, BaseboardBay, UpgradeIsRunning};
    }
    wish.m_dryRun = values.FlagIfAny("dry_run");
    wish.m_path = values.Text("path");
    if (wish.m_path.empty()) throw UsageError("firmware-update: \"path\": expected the image's path");
    wish.m_name = values.TextIfAny("name").value_or(wish.m_path);
    wish.m_sha256 = values.TextIfAny("sha256").value_or("");
    return wish;
}

CBMIParam Unsigned(unsigned id, int value) {
    CBMIParam param(BMI_PARAM_UINT, id, false);
    param.SetInt(value);
    return param;
}

CBMIParams RowOfUpgrade(const UpgradeWish& wish) {
    CBMIParams values;
    values.Add(Unsigned(BMI_FW_UPDATE_TARGET, wish.m_place.m_target));
    values.Add(Unsigned(BMI_FW_UPDATE_BAY, wish.m_place.m_bay));
    values.Add(Unsigned(BMI_FW_UPDATE_STATE, UpgradeIsRunning));
    CBMIParam stream(BMI_PARAM_STRING, BMI_FW_UPDATE_FILE, false);
    stream.SetString(wish.m_path);
    values.Add(stream);
    return values;
}

// The board's version, or that of the module; nothing where there is no module.
std::optional<std::string> VersionOf(const UpgradeRow& place, const Inventory& inventory) {
    if (place.m_target == UpgradeOfBaseboard)
        return inventory.m_board.empty() ? "" : TextOf(inventory.m_board.front(), BMI_HW_BOARD_FW_VERSION);
    const auto module = std::ranges::find_if(
        inventory.m_modules, [&](const CBMIParams& row) { return IntegerOf(row, BMI_HW_AMC_BAY) == place.m_bay; });
    if (module == inventory.m_modules.end()) return std::nullopt;
    return TextOf(*module, BMI_HW_AMC_FW_VERSION);
}

void RefuseBesideAnother(const std::vector<UpgradeFacts>& upgrades) {
    if (upgrades.empty() || upgrades.back().m_ended || upgrades.back().m_state != UpgradeIsRunning) return;
    const UpgradeFacts& other = upgrades.back();
    throw UsageError("firmware update: an upgrade of " +
                     UpgradeTargetText({other.m_target, other.m_bay, other.m_state}) + " is under way since " +
                     Rfc3339(other.m_begun));
}

nlohmann::ordered_json ValuesOfUpgrade(const UpgradeWish& wish) {
    return {{"target", wish.m_place.m_target},
            {"bay", wish.m_place.m_bay},
            {"place", UpgradeTargetText(wish.m_place)},
            {"file", wish.m_name},
            {"sha256", wish.m_sha256}};
}

OrderOutcome BeginUpgrade(const OrderValues& values, Session& session, const Picture& picture) {
    const UpgradeWish wish = UpgradeWishOf(values);
    const std::string place = UpgradeTargetText(wish.m_place);
    const auto version = VersionOf(wish.m_place, picture.m_inventory);
    // Where the inventory could not be read, nobody knows what the bay has.
    if (!version && picture.m_inventory.m_result == Success)
        throw UsageError("firmware update: " + place + ": there is no module");
    RefuseBesideAnother(picture.m_upgrades);
    if (wish.m_dryRun) return DryUpgrade(values);
    CBMIParams row = RowOfUpgrade(wish);
    OrderOutcome outcome;
    outcome.m_values = ValuesOfUpgrade(wish);
    outcome.m_values["version_before"] = version.value_or("");
    CBMIKeys keys;
    WriteRowOf(session, outcome, BMI_GROUP_FIRMWARE_UPDATE, keys, row);
    outcome.m_good = outcome.m_changed = outcome.m_result == Success;
    outcome.m_text = outcome.m_good
                         ? place + ": the upgrade has begun\n"
                         : place + ": the adaptor did not begin the upgrade: " + ResultText(outcome.m_result) + "\n";
    return outcome;
}

} // namespace

OrderOutcome DryUpgrade(const OrderValues& values) {
    const UpgradeWish wish = UpgradeWishOf(values);
    CBMITable table;
    CBMIParams row = RowOfUpgrade(wish);
    table.AddRow(row);
    OrderOutcome outcome;
    outcome.m_result = Success;
    outcome.m_good = true;
    outcome.m_text = UpgradeTargetText(wish.m_place) + ": nothing is written; an upgrade would write to 0x600\n" +
                     AlignedTable(TableLines(table), false);
    outcome.m_values = ValuesOfUpgrade(wish);
    outcome.m_values["dry_run"] = true;
    return outcome;
}

const OrderKind FirmwareUpdate = {"firmware-update", [](const OrderValues& values) { UpgradeWishOf(values); },
                                  BeginUpgrade};

} // namespace bmhost
