// What the picture says of the whole blade: each place with its run status and lights, and whether all is right.
#include "host/picture/Verdict.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include <algorithm>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr const char* NoLed = "-";
constexpr const char* UnreadLed = "not read";

std::optional<LedRow> StateOf(const LedReading* reading) {
    if (reading == nullptr || !reading->m_state) return std::nullopt;
    return LedRowOf(*reading->m_state, reading->m_bay);
}

std::string LightOf(const LedReading* reading) {
    if (reading == nullptr) return NoLed;
    const auto row = StateOf(reading);
    return row ? LedShows(*row) : UnreadLed;
}

// One that cannot be read, and one that is lit: the health LED in red only.
bool IsAtFault(const LedReading* reading, bool redOnly) {
    if (reading == nullptr) return false;
    const auto row = StateOf(reading);
    return !row || (IsLit(*row) && (!redOnly || row->m_color == INTERNAL_LED_RED));
}

std::string BytesOf(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    return param != nullptr ? param->GetString() : "-";
}

PlaceStatus PlaceOf(const Picture& picture, int32_t bay, std::string name, std::optional<int32_t> runStatus) {
    const LedReading* const outOfService = FindLed(picture, bay, HOST_LED_OUT_OF_SERVICE);
    const LedReading* const health = FindLed(picture, bay, HOST_LED_HEALTH);
    PlaceStatus place{bay, std::move(name), runStatus, LightOf(outOfService), LightOf(health)};
    place.m_outOfServiceAtFault = IsAtFault(outOfService, false);
    place.m_healthAtFault = IsAtFault(health, true);
    place.m_atFault = runStatus == RUN_STATUS_FAILED || place.m_outOfServiceAtFault || place.m_healthAtFault;
    return place;
}

bool Failed(const std::optional<CallOutcome>& call) {
    return call && call->m_result != Success;
}

} // namespace

const LedReading* FindLed(const Picture& picture, int32_t bay, int32_t led) {
    const auto found = std::ranges::find_if(
        picture.m_leds, [=](const LedReading& reading) { return reading.m_bay == bay && reading.m_led == led; });
    return found != picture.m_leds.end() ? &*found : nullptr;
}

std::vector<PlaceStatus> PlacesOf(const Picture& picture) {
    std::vector<PlaceStatus> places;
    const Inventory& inventory = picture.m_inventory;
    if (!inventory.m_board.empty()) {
        places.push_back(PlaceOf(picture, BaseboardBay, BytesOf(inventory.m_board.front(), BMI_HW_BOARD_PRODUCT_NAME),
                                 std::nullopt));
    }
    for (const CBMIParams& row : inventory.m_modules) {
        places.push_back(PlaceOf(picture, IntegerOf(row, BMI_HW_AMC_BAY), BytesOf(row, BMI_HW_AMC_PRODUCT_NAME),
                                 IntegerOf(row, BMI_HW_AMC_RUN_STATUS)));
    }
    return places;
}

bool IsGood(const Picture& picture) {
    const bool boardRead = picture.m_inventory.m_result == Success && !picture.m_inventory.m_board.empty();
    const bool callsPassed = !Failed(picture.m_host.m_init) && !Failed(picture.m_host.m_start);
    const bool upgraded = picture.m_upgrades.empty() || picture.m_upgrades.back().m_state != UpgradeHasFailed;
    return boardRead && callsPassed && upgraded && picture.m_faults.empty() &&
           picture.m_health.m_state != HealthState::Fault && picture.m_controller.m_state != Controller::State::Lost &&
           std::ranges::none_of(PlacesOf(picture), &PlaceStatus::m_atFault);
}

} // namespace bmhost
