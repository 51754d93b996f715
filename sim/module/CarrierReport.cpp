// The controller's own view of its carrier, as JSON for tests and people.
#include "sim/module/CarrierReport.h"

#include "sim/blade/LedColors.h"

#include <nlohmann/json.hpp>

#include <iterator>

namespace bladesim {
namespace {

using Json = nlohmann::ordered_json;
using std::chrono::milliseconds;

constexpr int DurationUnit = 10; // milliseconds

// PICMG 3.0, site types in their order; 7 and 9 are AMC and rear transition module.
constexpr const char* SiteTypes[] = {"board",      "power-entry", "shelf-fru", "shelf-manager", "fan-tray",
                                     "fan-filter", "alarm",       "amc",       "pmc",           "rtm"};

const char* SiteName(const Site& site) {
    return site.m_type < std::size(SiteTypes) ? SiteTypes[site.m_type] : "other";
}

Json Describe(const LedAction& action) {
    const bool steady = action.m_function == LedOff || action.m_function == LedOn;
    const char* const lit = steady ? "on" : "blink";
    return {{"state", action.m_function == LedOff ? "off" : lit},
            {"on_ms", action.m_onDuration * DurationUnit},
            {"off_ms", steady ? 0 : action.m_function * DurationUnit},
            {"color", LEDColorName(action.m_color)}};
}

const char* ModeOf(const LedState& state, LedClock::time_point now) {
    if (state.IsLampTest(now)) return "lamp-test";
    return state.m_override ? "override" : "local";
}

milliseconds::rep LampTestLeft(const LedState& state, LedClock::time_point now) {
    if (!state.IsLampTest(now)) return 0;
    return std::chrono::ceil<milliseconds>(state.m_lampTestEnd - now).count();
}

Json Describe(const Fru& fru, const LedState& state, LedClock::time_point now) {
    Json led = {{"fru", fru.m_id},
                {"led", state.m_led.m_id},
                {"site", SiteName(fru.m_site)},
                {"number", fru.m_site.m_number},
                {"mode", ModeOf(state, now)}};
    led.update(Describe(state.Shown(now)));
    led["local"] = state.m_led.m_localControl ? Describe(state.m_local) : Json();
    led["override"] = state.m_override ? Describe(*state.m_override) : Json();
    led["lamp_test_left_ms"] = LampTestLeft(state, now);
    return led;
}

} // namespace

std::vector<std::string> DescribeLEDs(const Carrier& carrier, LedClock::time_point now) {
    std::vector<std::string> leds;
    for (const Fru& fru : carrier.Served().m_frus) {
        for (const auto& [id, state] : carrier.LEDs(fru.m_id).LEDs())
            leds.push_back(Describe(fru, state, now).dump());
    }
    return leds;
}

std::vector<std::string> DescribeControls(const Carrier& carrier) {
    std::vector<std::string> controls;
    for (const FruControl& control : carrier.Controls()) {
        const Json object = {{"fru", control.m_fru}, {"option", control.m_option}, {"count", control.m_count}};
        controls.push_back(object.dump());
    }
    return controls;
}

} // namespace bladesim
