// The blade and its modules.
#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

#include <algorithm>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

struct TextColumn {
    const char* m_property;
    unsigned m_ofBoard;
    unsigned m_ofModule;
};

constexpr TextColumn ChassisTexts[] = {
    {"Manufacturer", BMI_HW_BOARD_MANUFACTURER, BMI_HW_AMC_MANUFACTURER},
    {"Model", BMI_HW_BOARD_PRODUCT_NAME, BMI_HW_AMC_PRODUCT_NAME},
    {"SerialNumber", BMI_HW_BOARD_PRODUCT_SERIAL, BMI_HW_AMC_SERIAL},
    {"PartNumber", BMI_HW_BOARD_PART_NUMBER, BMI_HW_AMC_PART_NUMBER},
    {"Version", BMI_HW_BOARD_PRODUCT_VERSION, BMI_HW_AMC_PRODUCT_VERSION},
};

void PutTexts(ordered_json& chassis, const CBMIParams* row, bool board) {
    if (row == nullptr) return;
    for (const TextColumn& column : ChassisTexts) {
        const auto text = KnownText(*row, board ? column.m_ofBoard : column.m_ofModule);
        if (text) chassis[column.m_property] = *text;
    }
}

void PutLocation(ordered_json& chassis, const char* type, std::optional<int64_t> number) {
    if (!number) return;
    ordered_json location;
    location["LocationType"] = type;
    location["LocationOrdinalValue"] = *number;
    chassis["Location"]["PartLocation"] = location;
}

std::string OwnWord(std::string_view word) {
    std::string text;
    bool first = true;
    for (const char next : word) {
        if (next != ' ') text += first && next >= 'a' && next <= 'z' ? static_cast<char>(next - 'a' + 'A') : next;
        first = next == ' ';
    }
    return text;
}

ordered_json LedObject(const LedReading& reading, WallTime now) {
    constexpr int tenMilliseconds = 10;
    constexpr int hundredMilliseconds = 100;
    const LedRow row = LedRowOf(*reading.m_state, reading.m_bay);
    const std::string_view state = LedStateName(row);
    const std::string_view color = LedColorName(row.m_color);
    ordered_json led;
    led["Led"] = reading.m_led;
    led["Name"] = LedName(reading.m_led);
    led["State"] = OwnWord(state);
    if (row.m_color != LedNoColor && LedColorNumber(color)) led["Color"] = OwnWord(color);
    led["Control"] = OwnWord(LedControlName(row));
    if (state == "blink") {
        led["OnMilliseconds"] = int64_t{row.m_onTime} * tenMilliseconds;
        led["OffMilliseconds"] = int64_t{row.m_offTime} * tenMilliseconds;
    }
    if (state == "lamp test") led["LampTestMilliseconds"] = int64_t{row.m_lampTest} * hundredMilliseconds;
    led["ReadTime"] = Rfc3339(reading.m_read);
    led["AgeMilliseconds"] = std::max<int64_t>((now - reading.m_read).count(), 0);
    return led;
}

void PutLeds(ordered_json& own, const Wanted& wanted, int bay) {
    ordered_json leds = ordered_json::array();
    for (const LedReading& reading : wanted.m_picture.m_leds) {
        if (reading.m_bay != bay || reading.m_result != RESULT_OK || !reading.m_state) continue;
        leds.push_back(LedObject(reading, wanted.m_facts.m_now));
    }
    own["Leds"] = leds;
}

void PutFramers(ordered_json& own, const Picture& picture) {
    if (picture.m_inventory.m_rtms.empty()) return;
    const CBMIParams& row = picture.m_inventory.m_rtms.front();
    ordered_json framers;
    const auto put = [&](const char* name, unsigned id) {
        if (const auto number = KnownNumber(row, id)) framers[name] = *number;
    };
    put("Type", BMI_HW_RTM_FRU_FRAMER_TYPE);
    put("Count", BMI_HW_RTM_FRU_NUM_FRAMERS);
    put("TrunksPerFramer", BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER);
    if (!framers.empty()) own["Framers"] = framers;
}

ordered_json SetLedAction(int bay) {
    ordered_json action;
    action["target"] = ChassisUri(bay) + "/Actions/Oem/Bmhost.SetLed";
    action["State@Redfish.AllowableValues"] = ordered_json::array({"On", "Off", "Blink", "Local"});
    action["Color@Redfish.AllowableValues"] = ordered_json::array({"White", "Red", "Green", "Blue", "Amber", "Orange"});
    ordered_json actions;
    actions["#Bmhost.SetLed"] = action;
    return actions;
}

void PutActions(ordered_json& chassis, const Wanted& wanted, int bay) {
    if (TakesReset(wanted)) {
        ordered_json reset;
        reset["target"] = ChassisUri(bay) + "/Actions/Chassis.Reset";
        reset["ResetType@Redfish.AllowableValues"] = ordered_json::array({"ForceRestart"});
        chassis["Actions"]["#Chassis.Reset"] = reset;
    }
    if (TakesLeds(wanted)) chassis["Actions"]["Oem"] = SetLedAction(bay);
}

std::vector<std::string> UrisOf(const std::vector<int>& bays) {
    std::vector<std::string> uris;
    uris.reserve(bays.size());
    for (const int bay : bays)
        uris.push_back(ChassisUri(bay));
    return uris;
}

// Of the board itself no health is known; that of what it contains goes up to it.
void PutBladeStatus(ordered_json& blade, const Wanted& wanted) {
    if (!wanted.m_facts.m_view.m_reachable) return;
    ordered_json status = StatusJson({StatusOfModule(wanted.m_picture, BaseboardBay).m_state, ""});
    const RedfishStatus worst = WorstStatus(wanted.m_picture, ModuleBays(wanted.m_picture));
    if (!worst.m_health.empty()) status["HealthRollup"] = worst.m_health;
    if (!status.is_null()) blade["Status"] = status;
}

ordered_json MakeBlade(const Wanted& wanted) {
    const Picture& picture = wanted.m_picture;
    const CBMIParams* const row = BoardRow(picture);
    ordered_json blade = ResourceOf("Chassis", BladeUri, PlaceId(BaseboardBay), "Blade");
    blade["ChassisType"] = "Blade";
    PutTexts(blade, row, true);
    if (row != nullptr) PutLocation(blade, "Slot", KnownNumber(*row, BMI_HW_BOARD_LOCATION));
    PutBladeStatus(blade, wanted);
    ordered_json links;
    PutLinks(links, "Contains", UrisOf(ModuleBays(picture)));
    PutLinks(links, "ComputerSystems", {MediaUri});
    PutLinks(links, "ManagedBy", {ManagerUri});
    PutLinks(links, "ManagersInChassis", {ManagerUri});
    PutLinks(links, "Switches", {SwitchUri});
    blade["Links"] = links;
    PutActions(blade, wanted, BaseboardBay);
    ordered_json own;
    own["Simulated"] = picture.m_source.IsSimulated();
    if (!picture.m_source.m_reason.empty()) own["SimulatedReason"] = CharactersOf(picture.m_source.m_reason);
    PutLeds(own, wanted, BaseboardBay);
    blade["Oem"] = OwnObject("Chassis", own);
    return blade;
}

ordered_json MakeModule(const Wanted& wanted, int bay, const CBMIParams& row) {
    ordered_json module = ResourceOf("Chassis", ChassisUri(bay), PlaceId(bay), LedBayText(bay));
    module["ChassisType"] = "Module";
    PutTexts(module, &row, false);
    PutLocation(module, "Bay", bay);
    const ordered_json status = StatusJson(StatusOfModule(wanted.m_picture, bay));
    if (!status.is_null() && wanted.m_facts.m_view.m_reachable) module["Status"] = status;
    std::vector<std::string> processors;
    for (const DspFacts& dsp : wanted.m_picture.m_dsps) {
        if (dsp.m_bay == bay) processors.push_back(ProcessorUri(dsp));
    }
    ordered_json links;
    links["ContainedBy"] = LinkTo(BladeUri);
    PutLinks(links, "ManagedBy", {ManagerUri});
    PutLinks(links, "Processors", processors);
    module["Links"] = links;
    PutActions(module, wanted, bay);
    ordered_json own;
    if (const auto runStatus = KnownNumber(row, BMI_HW_AMC_RUN_STATUS)) {
        own["RunStatus"] = *runStatus;
        own["RunStatusName"] = RunStatusName(static_cast<int>(*runStatus));
    }
    PutLeds(own, wanted, bay);
    if (bay == RtmBay) PutFramers(own, wanted.m_picture);
    module["Oem"] = OwnObject("Chassis", own);
    return module;
}

std::optional<int> WantedBay(const Wanted& wanted) {
    return BayOfPlaceId(wanted.m_ids.at(0));
}

} // namespace

// A simulated inventory has nothing to reset, and no light.
bool TakesReset(const Wanted& wanted) {
    return WantedBay(wanted) == BaseboardBay && !wanted.m_picture.m_source.IsSimulated();
}

// The adaptor sets the LEDs of the baseboard and of the first AMC.
bool TakesLeds(const Wanted& wanted) {
    const auto bay = WantedBay(wanted);
    return bay && (*bay == BaseboardBay || FirstAmc(wanted.m_picture) == bay) &&
           !wanted.m_picture.m_source.IsSimulated();
}

Resource MakeAllChassis(const Wanted& wanted) {
    std::vector<std::string> ids = {PlaceId(BaseboardBay)};
    for (const int bay : ModuleBays(wanted.m_picture))
        ids.push_back(PlaceId(bay));
    return CollectionOf("ChassisCollection", "/redfish/v1/Chassis", "Chassis", ids);
}

Resource MakeChassis(const Wanted& wanted) {
    const auto bay = WantedBay(wanted);
    if (!bay) return std::nullopt;
    if (*bay == BaseboardBay) return MakeBlade(wanted);
    const CBMIParams* const row = ModuleRow(wanted.m_picture, *bay);
    return row != nullptr ? Resource(MakeModule(wanted, *bay, *row)) : std::nullopt;
}

} // namespace bmhost
