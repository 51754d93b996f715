// The controller's own view of its carrier, as JSON for tests and people.
#include "sim/module/CarrierReport.h"

#include "sim/blade/LedColors.h"

#include <nlohmann/json.hpp>

#include <iterator>

namespace BLADESIM {
namespace {

using JSON = nlohmann::ordered_json;
using std::chrono::milliseconds;

constexpr int g_DurationUnit = 10; // milliseconds

// PICMG 3.0, site types in their order; 7 and 9 are AMC and rear transition module.
constexpr const char* g_SiteTypes[] = {"board",      "power-entry", "shelf-fru", "shelf-manager", "fan-tray",
                                       "fan-filter", "alarm",       "amc",       "pmc",           "rtm"};

const char* SiteName(const SITE& a_Site) {
    return a_Site.m_Type < std::size(g_SiteTypes) ? g_SiteTypes[a_Site.m_Type] : "other";
}

JSON Describe(const LED_ACTION& a_Action) {
    const bool l_Steady = a_Action.m_Function == g_LedOff || a_Action.m_Function == g_LedOn;
    const char* const l_Lit = l_Steady ? "on" : "blink";
    return {{"state", a_Action.m_Function == g_LedOff ? "off" : l_Lit},
            {"on_ms", a_Action.m_OnDuration * g_DurationUnit},
            {"off_ms", l_Steady ? 0 : a_Action.m_Function * g_DurationUnit},
            {"color", LEDColorName(a_Action.m_Color)}};
}

const char* ModeOf(const LED_STATE& a_State, LED_CLOCK::time_point a_Now) {
    if (a_State.IsLampTest(a_Now)) return "lamp-test";
    return a_State.m_Override ? "override" : "local";
}

milliseconds::rep LampTestLeft(const LED_STATE& a_State, LED_CLOCK::time_point a_Now) {
    if (!a_State.IsLampTest(a_Now)) return 0;
    return std::chrono::ceil<milliseconds>(a_State.m_LampTestEnd - a_Now).count();
}

JSON Describe(const FRU& a_FRU, const LED_STATE& a_State, LED_CLOCK::time_point a_Now) {
    JSON l_LED = {{"fru", a_FRU.m_Id},
                  {"led", a_State.m_LED.m_Id},
                  {"site", SiteName(a_FRU.m_Site)},
                  {"number", a_FRU.m_Site.m_Number},
                  {"mode", ModeOf(a_State, a_Now)}};
    l_LED.update(Describe(a_State.Shown(a_Now)));
    l_LED["local"] = a_State.m_LED.m_LocalControl ? Describe(a_State.m_Local) : JSON();
    l_LED["override"] = a_State.m_Override ? Describe(*a_State.m_Override) : JSON();
    l_LED["lamp_test_left_ms"] = LampTestLeft(a_State, a_Now);
    return l_LED;
}

} // namespace

std::vector<std::string> DescribeLEDs(const CARRIER& a_Carrier, LED_CLOCK::time_point a_Now) {
    std::vector<std::string> l_LEDs;
    for (const FRU& l_FRU : a_Carrier.Blade().m_FRUs) {
        for (const auto& [l_Id, l_State] : a_Carrier.LEDs(l_FRU.m_Id).LEDs())
            l_LEDs.push_back(Describe(l_FRU, l_State, a_Now).dump());
    }
    return l_LEDs;
}

std::vector<std::string> DescribeControls(const CARRIER& a_Carrier) {
    std::vector<std::string> l_Controls;
    for (const FRU_CONTROL& l_Control : a_Carrier.Controls()) {
        const JSON l_Json = {{"fru", l_Control.m_FRU}, {"option", l_Control.m_Option}, {"count", l_Control.m_Count}};
        l_Controls.push_back(l_Json.dump());
    }
    return l_Controls;
}

} // namespace BLADESIM
