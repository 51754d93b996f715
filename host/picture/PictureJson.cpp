// The picture as JSON: what the socket carries and what --json shows.
#include "host/picture/PictureJson.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/PictureWords.h"
#include "host/picture/RowJson.h"
#include "host/picture/StatusNames.h"
#include "host/picture/Verdict.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

// A text of this system's own, or a user's. JSON cannot hold anything but UTF-8.
std::string Utf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const int length = bm_dev::Utf8Length(std::string_view(text).substr(at));
        if (length <= 0) return bm_dev::Utf8OfBytes(text);
        at += static_cast<std::size_t>(length);
    }
    return text;
}

// Lines of the log have the hardware's bytes in them.
ordered_json LinesJson(const std::vector<std::string>& lines) {
    ordered_json texts = ordered_json::array();
    for (const std::string& line : lines)
        texts.push_back(bm_dev::Utf8OfBytes(line));
    return texts;
}

ordered_json TimeOrNull(WallTime time) {
    return time == WallTime{} ? ordered_json(nullptr) : ordered_json(Rfc3339(time));
}

template <typename Items, typename Maker>
ordered_json ArrayOf(const Items& items, const Maker& maker) {
    ordered_json array = ordered_json::array();
    for (const auto& item : items)
        array.push_back(maker(item));
    return array;
}

ordered_json CallJson(const std::optional<CallOutcome>& call) {
    if (!call) return nullptr;
    return {{"operation", Utf8(call->m_operation)},
            {"result", call->m_result},
            {"result_name", ResultMeaning(call->m_result)},
            {"time", TimeOrNull(call->m_time)},
            {"reasons", LinesJson(call->m_reasons)}};
}

ordered_json HostJson(const HostFacts& host) {
    return {{"process", host.m_process},
            {"started", TimeOrNull(host.m_started)},
            {"version", Utf8(host.m_version)},
            {"adaptor", Utf8(host.m_adaptor)},
            {"mode", host.m_mode},
            {"storage", Utf8(host.m_storage)},
            {"resident", host.m_resident},
            {"init", CallJson(host.m_init)},
            {"start", CallJson(host.m_start)},
            {"stop", CallJson(host.m_stop)}};
}

ordered_json ModuleJson(const CBMIParams& row) {
    ordered_json module = RowJson(row);
    if (const CBMIParam* const status = row.GetParamById(BMI_HW_AMC_RUN_STATUS); status != nullptr)
        module["run_status_name"] = RunStatusName(status->GetInt());
    if (const CBMIParam* const bay = row.GetParamById(BMI_HW_AMC_BAY); bay != nullptr)
        module["place"] = LedBayText(bay->GetInt());
    return module;
}

ordered_json InventoryJson(const Inventory& inventory) {
    return {{"result", inventory.m_result},
            {"result_name", ResultMeaning(inventory.m_result)},
            {"board", ArrayOf(inventory.m_board, RowJson)},
            {"modules", ArrayOf(inventory.m_modules, ModuleJson)},
            {"amcs", ArrayOf(inventory.m_amcs, RowJson)},
            {"rtms", ArrayOf(inventory.m_rtms, RowJson)}};
}

void AddState(const LedReading& reading, WallTime now, ordered_json& led) {
    constexpr int tenMilliseconds = 10;
    constexpr int hundredMilliseconds = 100;
    const LedRow row = LedRowOf(*reading.m_state, reading.m_bay);
    const std::string state(LedStateName(row));
    led["color"] = LedColorName(row.m_color);
    led["state"] = state;
    if (state == "blink") {
        led["on_ms"] = int64_t{row.m_onTime} * tenMilliseconds;
        led["off_ms"] = int64_t{row.m_offTime} * tenMilliseconds;
    }
    if (state == "lamp test") led["test_ms"] = int64_t{row.m_lampTest} * hundredMilliseconds;
    led["control"] = LedControlName(row);
    led["read_at"] = TimeOrNull(reading.m_read);
    led["age_ms"] = (now - reading.m_read).count();
    led["row"] = RowJson(*reading.m_state);
}

ordered_json LedJson(const LedReading& reading, WallTime now) {
    ordered_json led = {{"place", LedBayText(reading.m_bay)},
                        {"bay", reading.m_bay},
                        {"led", reading.m_led},
                        {"led_name", LedName(reading.m_led)},
                        {"result", reading.m_result},
                        {"result_name", ResultMeaning(reading.m_result)}};
    if (reading.m_state) AddState(reading, now, led);
    return led;
}

ordered_json DspJson(const DspFacts& dsp) {
    return {{"dsp", dsp.m_number},          {"place", LedBayText(dsp.m_bay)}, {"bay", dsp.m_bay},
            {"dsp_of_amc", dsp.m_dspOfAmc}, {"mac", Utf8(dsp.m_mac)},         {"ip", Utf8(dsp.m_ip)},
            {"read", dsp.m_read},           {"stored", dsp.m_stored},         {"note", Utf8(dsp.m_note)}};
}

ordered_json PortJson(const PortFacts& port) {
    return {{"port", port.m_port},
            {"name", Utf8(port.m_name)},
            {"leads_to", Utf8(port.m_leadsTo)},
            {"enabled", port.m_enabled ? ordered_json(*port.m_enabled) : ordered_json(nullptr)},
            {"link", LinkWord(port.m_linkUp)},
            {"stored", port.m_stored},
            {"note", Utf8(port.m_note)}};
}

ordered_json HealthJson(const Health& health) {
    return {{"state", HealthWord(health.m_state)},
            {"since", TimeOrNull(health.m_since)},
            {"reasons", LinesJson(health.m_reasons)}};
}

ordered_json ControllerJson(const Controller& controller) {
    return {{"state", ControllerWord(controller.m_state)},
            {"since", TimeOrNull(controller.m_since)},
            {"sweeps", controller.m_sweeps}};
}

std::string UpgradePlace(const UpgradeFacts& upgrade) {
    return UpgradeTargetText({upgrade.m_target, upgrade.m_bay, upgrade.m_state});
}

ordered_json UpgradeJson(const UpgradeFacts& upgrade) {
    return {{"place", UpgradePlace(upgrade)},
            {"target", upgrade.m_target},
            {"bay", upgrade.m_bay},
            {"state", upgrade.m_state},
            {"state_name", UpgradeStateName(upgrade.m_state)},
            {"begun", TimeOrNull(upgrade.m_begun)},
            {"ended", upgrade.m_ended ? ordered_json(Rfc3339(*upgrade.m_ended)) : ordered_json(nullptr)},
            {"file", Utf8(upgrade.m_file)},
            {"sha256", Utf8(upgrade.m_sha256)},
            {"version_before", bm_dev::Utf8OfBytes(upgrade.m_versionBefore)},
            {"version_after", upgrade.m_versionAfter.empty()
                                  ? ordered_json(nullptr)
                                  : ordered_json(bm_dev::Utf8OfBytes(upgrade.m_versionAfter))},
            {"asker", Utf8(upgrade.m_asker)}};
}

ordered_json UnderWayJson(const CallInProgress& call, WallTime now) {
    return {{"operation", Utf8(call.m_operation)},
            {"since", TimeOrNull(call.m_since)},
            {"age_ms", call.m_since == WallTime{} ? 0 : (now - call.m_since).count()},
            {"asker", Utf8(call.m_asker)},
            {"waiting", call.m_waiting},
            {"waits_for", Utf8(call.m_waitsFor)}};
}

ordered_json FaultJson(const Fault& fault) {
    return {{"place", Utf8(fault.m_place)},
            {"what", Utf8(fault.m_what)},
            {"kind", Utf8(fault.m_kind)},
            {"cause", Utf8(fault.m_cause)},
            {"evidence", LinesJson(fault.m_evidence)},
            {"cure", Utf8(fault.m_cure)}};
}

ordered_json PlaceJson(const PlaceStatus& place) {
    ordered_json fields = {
        {"place", LedBayText(place.m_bay)}, {"bay", place.m_bay}, {"name", bm_dev::Utf8OfBytes(place.m_name)}};
    if (place.m_runStatus) {
        fields["run_status"] = *place.m_runStatus;
        fields["run_status_name"] = RunStatusName(*place.m_runStatus);
    }
    fields["out_of_service_led"] = place.m_outOfService;
    fields["health_led"] = place.m_health;
    return fields;
}

// The first four keys are as old as the command.
ordered_json StatusJson(const Picture& picture) {
    ordered_json upgrade = nullptr;
    if (!picture.m_upgrades.empty()) {
        const UpgradeFacts& last = picture.m_upgrades.back();
        upgrade = {
            {"place", UpgradePlace(last)}, {"state", last.m_state}, {"state_name", UpgradeStateName(last.m_state)}};
    }
    return {{"good", IsGood(picture)},
            {"modules", ArrayOf(PlacesOf(picture), PlaceJson)},
            {"upgrade", upgrade},
            {"health", HealthJson(picture.m_health)},
            {"controller", ControllerJson(picture.m_controller)},
            {"source", SourceJson(picture.m_source)},
            {"faults", ArrayOf(picture.m_faults, FaultJson)}};
}

} // namespace

ordered_json SourceJson(const Source& source) {
    return {
        {"kind", SourceWord(source.m_kind)}, {"simulated", source.IsSimulated()}, {"reason", Utf8(source.m_reason)}};
}

ordered_json PictureJson(const Picture& picture) {
    const WallTime now = picture.m_time;
    return {{"revision", picture.m_revision},
            {"time", TimeOrNull(now)},
            {"status", StatusJson(picture)},
            {"source", SourceJson(picture.m_source)},
            {"host", HostJson(picture.m_host)},
            {"health", HealthJson(picture.m_health)},
            {"controller", ControllerJson(picture.m_controller)},
            {"inventory", InventoryJson(picture.m_inventory)},
            {"leds", ArrayOf(picture.m_leds, [=](const LedReading& reading) { return LedJson(reading, now); })},
            {"dsps", ArrayOf(picture.m_dsps, DspJson)},
            {"ports", ArrayOf(picture.m_ports, PortJson)},
            {"upgrades", ArrayOf(picture.m_upgrades, UpgradeJson)},
            {"calls", ArrayOf(picture.m_calls, [=](const CallInProgress& call) { return UnderWayJson(call, now); })},
            {"faults", ArrayOf(picture.m_faults, FaultJson)}};
}

} // namespace bmhost
