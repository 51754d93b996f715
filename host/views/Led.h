// The blade's LEDs as the adaptor's LED groups show them: where they are, what they do.
#pragma once

#include "common/veldo_common_protocol.h"

#include "bm/Params.h"

#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

class Session;

constexpr int BaseboardBay = 0; ///< no bay of the adaptor's: the baseboard has none
constexpr int FirstAmcBay = BM_ADAPTOR::AMC_BAY_FIRST;
constexpr int LastAmcBay = BM_ADAPTOR::AMC_BAY_LAST;
constexpr int RtmBay = BM_ADAPTOR::RTM_BAY;
constexpr int FirstLed = BM_ADAPTOR::HOST_LED_HOT_SWAP;
constexpr int LastLed = BM_ADAPTOR::HOST_LED_FOURTH;

struct LedPlace {
    int m_bay = BaseboardBay;
    int m_led = FirstLed;
};

/// Colour numbers of the LED groups' rows, those of OpenIPMI; a colour that can be asked for has a name.
constexpr int LedNoColor = BM_ADAPTOR::INTERNAL_LED_NO_COLOR;
std::string_view LedColorName(int color);
std::optional<int> LedColorNumber(std::string_view name);

/// An LED's state as an internal row carries it. A row that is read has times in tens of milliseconds, one that is
/// written in milliseconds; 1 and 0 are on, 0 and 1 off.
struct LedRow {
    int32_t m_local = 0;
    int32_t m_onTime = 0;
    int32_t m_offTime = 0;
    int32_t m_lampTest = 0; ///< hundreds of milliseconds
    int32_t m_color = LedNoColor;
};

/// The LED's state; nothing when the read did not return 1. `result` becomes the call's result.
std::optional<LedRow> ReadLed(Session& session, LedPlace place, int& result);
/// Writes, and returns the call's result. Local control is written as it is in the row.
int WriteLed(Session& session, LedPlace place, const LedRow& row);

/// "baseboard", "AMC bay 3", "RTM".
std::string LedBayText(int bay);
/// "1 hot swap", "2 out of service" …
std::string LedText(int led);

} // namespace bmhost
