// `bmhost status`: run status, LEDs, health, controller, upgrade and the last fault.
#include "host/output/TextOutput.h"
#include "host/picture/Led.h"
#include "host/picture/PictureWords.h"
#include "host/picture/StatusNames.h"
#include "host/picture/Verdict.h"
#include "host/session/Session.h"
#include "host/views/Views.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr std::size_t RunStatusColumn = 2;
constexpr std::size_t OutOfServiceColumn = 3;
constexpr std::size_t HealthColumn = 4;
constexpr const char* PaintGreen = "92";
constexpr const char* PaintRed = "91";

std::string SinceText(WallTime since) {
    return since == WallTime{} ? "" : " since " + Rfc3339(since);
}

std::string PlaceTable(const std::vector<PlaceStatus>& places, const Style& style) {
    std::vector<std::vector<std::string>> lines = {
        {"place", "product name", "run status", "out of service LED", "health LED"}};
    for (const PlaceStatus& place : places) {
        lines.push_back({LedBayText(place.m_bay), HardwareText(place.m_name, style),
                         place.m_runStatus ? RunStatusText(*place.m_runStatus) : "-", place.m_outOfService,
                         place.m_health});
    }
    return AlignedTable(lines, style, [&](std::size_t line, std::size_t column) -> const char* {
        const PlaceStatus& place = places[line - 1];
        if (column == RunStatusColumn && place.m_runStatus == RUN_STATUS_RUNNING) return PaintGreen;
        if (column == RunStatusColumn && place.m_runStatus == RUN_STATUS_FAILED) return PaintRed;
        if (column == OutOfServiceColumn && place.m_outOfServiceAtFault) return PaintRed;
        return column == HealthColumn && place.m_healthAtFault ? PaintRed : nullptr;
    });
}

// A command's own adaptor is neither started nor watched.
std::string HealthText(const Picture& picture) {
    const Health& health = picture.m_health;
    std::string text = "health: " + std::string(HealthWord(health.m_state));
    if (health.m_state == HealthState::Ended) text = "health: no longer monitored";
    text += SinceText(health.m_since);
    // The first fault ends the monitor.
    if (health.m_state == HealthState::Fault) text += "; no longer monitored, until the next start";
    for (const std::string& reason : health.m_reasons)
        text += "\n  " + PrintableText(reason);
    return text + "\n";
}

std::string ControllerText(const Picture& picture) {
    const Controller& controller = picture.m_controller;
    return "controller: " +
           (picture.m_source.IsSimulated() ? "none, the inventory is simulated"
                                           : std::string(ControllerWord(controller.m_state))) +
           SinceText(controller.m_since) + "\n";
}

std::string CallText(const std::optional<CallOutcome>& call) {
    if (!call || call->m_result == Success) return "";
    std::string text = call->m_operation + ": " + ResultText(call->m_result) + SinceText(call->m_time) + "\n";
    for (const std::string& reason : call->m_reasons)
        text += "  " + PrintableText(reason) + "\n";
    return text;
}

std::string CallsText(const Picture& picture) {
    std::string text;
    for (const CallInProgress& call : picture.m_calls) {
        text +=
            (call.m_waiting ? "waiting: " : "under way: ") + PrintableText(call.m_operation) + SinceText(call.m_since);
        if (!call.m_waitsFor.empty()) text += ", for " + PrintableText(call.m_waitsFor);
        text += "\n";
    }
    return text;
}

std::string LastFaultText(const Picture& picture) {
    if (picture.m_faults.empty()) return "";
    const Fault& fault = picture.m_faults.back();
    const std::string more = picture.m_faults.size() > 1
                                 ? " (1 of " + std::to_string(picture.m_faults.size()) + ": bmhost why)"
                                 : " (bmhost why)";
    return "last fault: " + fault.m_place + ": " + fault.m_what + (fault.m_cause.empty() ? "" : ": " + fault.m_cause) +
           more + "\n";
}

} // namespace

std::string UpgradeText(const Picture& picture) {
    if (picture.m_upgrades.empty()) return "no upgrade yet";
    const UpgradeFacts& last = picture.m_upgrades.back();
    return UpgradeTargetText({last.m_target, last.m_bay, last.m_state}) + ": " +
           std::string(UpgradeStateName(last.m_state)) + SinceText(last.m_ended.value_or(last.m_begun));
}

bool UpgradeIsGood(const Picture& picture) {
    return picture.m_upgrades.empty() || picture.m_upgrades.back().m_state != UpgradeHasFailed;
}

std::string InitRemarks(const Picture& picture) {
    return CallText(picture.m_host.m_init);
}

std::string StatusText(const Picture& picture, const Style& style) {
    return PlaceTable(PlacesOf(picture), style) + "\n" + CallText(picture.m_host.m_init) +
           CallText(picture.m_host.m_start) + HealthText(picture) + ControllerText(picture) +
           "firmware upgrade: " + UpgradeText(picture) + "\n" + LastFaultText(picture) + CallsText(picture);
}

} // namespace bmhost
