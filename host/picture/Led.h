// The blade's LEDs as the adaptor's LED groups show them: where they are, what they do.
#pragma once

#include "common/veldo_common_protocol.h"

#include "bm/Params.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

class Session;

constexpr int BaseboardBay = 0; ///< not a bay of the adaptor's: the baseboard has none
constexpr int FirstAmcBay = BM_ADAPTOR::AMC_BAY_FIRST;
constexpr int LastAmcBay = BM_ADAPTOR::AMC_BAY_LAST;
constexpr int RtmBay = BM_ADAPTOR::RTM_BAY;
constexpr int FirstLed = BM_ADAPTOR::HOST_LED_HOT_SWAP;
constexpr int LastLed = BM_ADAPTOR::HOST_LED_FOURTH;

struct LedPlace {
    int m_bay = BaseboardBay;
    int m_led = FirstLed;
};

/// Colour numbers in the LED groups' rows. Every colour that can be requested has a name.
constexpr int LedNoColor = BM_ADAPTOR::INTERNAL_LED_NO_COLOR;
std::string_view LedColorName(int color);
std::optional<int> LedColorNumber(std::string_view name);

/// An LED's state as an internal row holds it. Times are in tens of milliseconds in a row that is read, and in
/// milliseconds in a row that is written; 1 and 0 mean on, 0 and 1 off.
struct LedRow {
    int32_t m_local = 0;
    int32_t m_onTime = 0;
    int32_t m_offTime = 0;
    int32_t m_lampTest = 0; ///< hundreds of milliseconds
    int32_t m_color = LedNoColor;
    std::vector<int> m_colors{}; ///< those that a row that is read says the LED supports: none on a real controller
};

/// The state in the LED group's row of this bay.
LedRow LedRowOf(const BM_ADAPTOR::CBMIParams& row, int bay);
/// "lamp test", "on", "off", "blink".
std::string_view LedStateName(const LedRow& row);
/// "local" or "override".
std::string_view LedControlName(const LedRow& row);
/// What the LED shows, in a few words: "off", "blink red", "lamp test".
std::string LedShows(const LedRow& row);
/// Whether it is on or blinks.
bool IsLit(const LedRow& row);
/// The group's keys of this LED, and its number.
BM_ADAPTOR::CBMIKeys LedKeys(LedPlace place);
unsigned LedGroupOf(LedPlace place);
/// Whether a call of this group waits for the controller: those of LEDs do, and no other.
bool AsksController(unsigned group);

/// The LED's state; empty when the read did not return 1. `result` becomes the call's result.
std::optional<LedRow> ReadLed(Session& session, LedPlace place, int& result);
/// Writes, and returns the call's result. Local control is written as it is in the row.
int WriteLed(Session& session, LedPlace place, const LedRow& row);

/// "baseboard", "AMC bay 3", "RTM".
std::string LedBayText(int bay);
/// "1 hot swap", "2 out of service" …
std::string LedText(int led);
/// "hot swap", "out of service" …
std::string LedName(int led);

} // namespace bmhost
