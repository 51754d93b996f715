// One LED set.
#include "host/orders/LedColors.h"
#include "host/orders/OrderKinds.h"
#include "host/output/TextOutput.h"
#include "host/session/CallReasons.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/LedPanel.h"
#include "host/words/CompletionCode.h"
#include "host/words/Error.h"

#include <algorithm>

namespace bmhost {

namespace {

constexpr int FirstCompletionCode = 0x80;
constexpr int LastCompletionCode = 0xFF;
// What a controller can be told: 10 to 250 tens of milliseconds.
constexpr int ShortestTime = 100;
constexpr int LongestTime = 2500;
constexpr int DefaultTime = 500;
constexpr int MostTime = 60000; // milliseconds that an order may have

struct LedWish {
    LedPlace m_place{};
    std::string m_action;
    int m_color = LedNoColor; ///< none: one that the LED supports
    int m_onTime = DefaultTime;
    int m_offTime = DefaultTime;
    bool m_firstAmc = false;

    bool IsLit() const { return m_action == "on" || m_action == "blink"; }
};

LedWish WishOf(const OrderValues& values) {
    values.Only({"bay", "led", "action", "color", "on", "off", "first_amc"});
    LedWish wish;
    wish.m_place = {values.Number("bay", BaseboardBay, RtmBay), values.Number("led", FirstLed, LastLed)};
    wish.m_action = values.OneOf("action", {"on", "off", "blink", "local"});
    if (values.Has("color"))
        wish.m_color = *LedColorNumber(values.OneOf("color", {"white", "red", "green", "blue", "amber", "orange"}));
    if (values.Has("color") && !wish.IsLit()) throw UsageError("led set: --color goes with on and blink only");
    if (values.Has("on") != values.Has("off")) throw UsageError("led set: expected --on and --off together");
    if (values.Has("on")) {
        if (wish.m_action != "blink") throw UsageError("led set: --on and --off are the times of blink");
        wish.m_onTime = values.Number("on", 1, MostTime);
        wish.m_offTime = values.Number("off", 1, MostTime);
    }
    wish.m_firstAmc = values.FlagIfAny("first_amc");
    return wish;
}

// The bay of an AMC is required by the adaptor and not looked at: it writes to the first AMC that there is.
int FirstAMC(Session& session) {
    for (int bay = FirstAmcBay; bay <= LastAmcBay; ++bay) {
        int result = 0;
        session.Row(BM_ADAPTOR::BMI_GROUP_HARDWARE_AMC_TABLE, KeyOf(BM_ADAPTOR::BMI_HW_AMC_BAY, bay), result);
        if (result == Success) return bay;
        ReadLed(session, {bay, FirstLed}, result);
        if (result != NotFound) return bay;
    }
    return BaseboardBay;
}

// The LED that the adaptor would set.
LedPlace PlaceOf(Session& session, const LedWish& wish, std::vector<std::string>& remarks) {
    if (wish.m_place.m_bay == BaseboardBay) return wish.m_place;
    const std::string asked = LedBayText(wish.m_place.m_bay);
    const int first = FirstAMC(session);
    if (first == wish.m_place.m_bay) return wish.m_place;
    if (first == BaseboardBay)
        throw UsageError("led set: " + asked + ": the adaptor sets LEDs of the baseboard and of the first AMC only, " +
                         "and there is no AMC");
    if (!wish.m_firstAmc)
        throw UsageError("led set: " + asked + ": the adaptor sets LEDs of the baseboard and of the first AMC only, " +
                         "which is " + LedBayText(first) + "; with --first-amc that one gets it");
    remarks.push_back("the adaptor sets LEDs of the first AMC only: not " + asked + " but " + LedBayText(first) +
                      " gets it");
    return {first, wish.m_place.m_led};
}

LedRow RowOf(const LedWish& wish, int color) {
    if (wish.m_action == "on") return {0, 1, 0, 0, color, {}};
    if (wish.m_action == "off") return {0, 0, 1, 0, color, {}};
    if (wish.m_action == "blink") return {0, wish.m_onTime, wish.m_offTime, 0, color, {}};
    return {1, 0, 1, 0, LedNoColor, {}};
}

void RemarkTime(const char* option, int time, std::vector<std::string>& remarks) {
    const int sent = std::clamp(time / 10 * 10, ShortestTime, LongestTime);
    if (sent == time) return;
    remarks.push_back(std::string(option) + " " + std::to_string(time) + ": a controller is told " +
                      std::to_string(sent) + " ms, tens of milliseconds from 100 to 2500");
}

std::string NameOf(LedPlace place) {
    return "LED " + std::to_string(place.m_led) + " of " + LedBayText(place.m_bay);
}

std::string Refusal(int result, LedPlace place) {
    const std::string which = NameOf(place) + ": ";
    if (result == NotFound || result == -1) return which + "there is no such LED";
    if (result >= FirstCompletionCode && result <= LastCompletionCode)
        return which + "the controller refused it with completion code " + CompletionCodeText(result);
    return which + "the adaptor answered " + ResultText(result);
}

// Until the controller takes a colour; one that was asked for is the only one.
int Write(Session& session, const LedWish& wish, LedPlace place, const std::optional<LedRow>& before,
          OrderOutcome& outcome) {
    std::vector<int> colors = {wish.m_color};
    if (wish.m_color == LedNoColor && wish.m_action != "local") colors = LedColorsToTry(place.m_led, before);
    int color = LedNoColor;
    for (std::size_t i = 0; i < colors.size() && (i == 0 || outcome.m_result == ColorRefused); ++i) {
        const CallReasons reasons;
        color = colors[i];
        // The row's bay stays the one that was asked for: the adaptor does not look at it.
        outcome.m_result = WriteLed(session, wish.m_place, RowOf(wish, color));
        outcome.m_reasons = reasons.Texts();
    }
    return color;
}

void TellColors(Session& session, LedPlace place, int refused, const LedRow& before, OrderOutcome& outcome) {
    const FoundLedColors found = FindLedColors(session, place, refused, before);
    nlohmann::ordered_json names = nlohmann::ordered_json::array();
    std::string text;
    for (const int color : found.m_colors) {
        names.push_back(LedColorName(color));
        text.append(text.empty() ? "" : ", ").append(LedColorName(color));
    }
    outcome.m_values["supported_colors"] = names;
    if (!text.empty()) outcome.m_remarks.push_back(NameOf(place) + " can be " + text);
    if (!found.m_restored)
        outcome.m_remarks.push_back(NameOf(place) + " does not show again what it showed before: the controller " +
                                    "refused that");
}

bool Shows(const LedRow& one, const LedRow& other) {
    return one.m_local == other.m_local && one.m_onTime == other.m_onTime && one.m_offTime == other.m_offTime &&
           one.m_lampTest == other.m_lampTest && one.m_color == other.m_color;
}

OrderOutcome SetLed(const OrderValues& values, Session& session, const Picture& picture) {
    const LedWish wish = WishOf(values);
    OrderOutcome outcome;
    const LedPlace place = PlaceOf(session, wish, outcome.m_remarks);
    if (wish.m_action == "blink") {
        RemarkTime("--on", wish.m_onTime, outcome.m_remarks);
        RemarkTime("--off", wish.m_offTime, outcome.m_remarks);
    }
    int readResult = 0;
    const auto before = ReadLed(session, place, readResult);
    const int color = Write(session, wish, place, before, outcome);
    outcome.m_good = outcome.m_result == Success || outcome.m_result == ControllerSuccess;
    outcome.m_values = {{"place", LedBayText(place.m_bay)},
                        {"bay", place.m_bay},
                        {"led", place.m_led},
                        {"led_name", LedText(place.m_led).substr(2)}};
    if (!outcome.m_good) {
        outcome.m_remarks.push_back(Refusal(outcome.m_result, place));
        if (outcome.m_result == ColorRefused && wish.m_color != LedNoColor && before)
            TellColors(session, place, wish.m_color, *before, outcome);
        return outcome;
    }
    if (color != LedNoColor && wish.IsLit()) outcome.m_values["color"] = LedColorName(color);
    if (picture.m_source.IsSimulated()) outcome.m_remarks.emplace_back("the inventory is simulated: no LED was set");
    const auto after = ReadLed(session, place, readResult);
    if (before) outcome.m_values["before"] = LedShows(*before);
    if (after) outcome.m_values["after"] = LedShows(*after);
    outcome.m_changed = before && after && !Shows(*before, *after);
    if (after) outcome.m_text = LedTable({LedLine(place, *after)}, false);
    return outcome;
}

} // namespace

const OrderKind LedSet = {"led-set", [](const OrderValues& values) { WishOf(values); }, SetLed};

} // namespace bmhost
