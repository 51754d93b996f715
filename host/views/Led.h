// The blade's LEDs as the adaptor's LED groups show them: where they are, what they do.
#pragma once

#include "bm/Params.h"

#include <optional>
#include <string>
#include <string_view>

namespace BMHOST {

class SESSION;

constexpr int BASEBOARD_BAY = 0; ///< no bay of the adaptor's: the baseboard has none
constexpr int FIRST_AMC_BAY = 1;
constexpr int LAST_AMC_BAY = 8;
constexpr int RTM_BAY = 9;
constexpr int FIRST_LED = 1; ///< the adaptor's numbers: 1 is PICMG's LED 0
constexpr int LAST_LED = 4;

struct LED_PLACE {
    int m_Bay = BASEBOARD_BAY;
    int m_LED = FIRST_LED;
};

/// Colour numbers of the LED groups' rows, those of OpenIPMI; a colour that can be asked for has a name.
constexpr int LED_NO_COLOR = 0;
std::string_view LedColorName(int a_Color);
std::optional<int> LedColorNumber(std::string_view a_Name);

/// An LED's state as an internal row carries it. A row that is read has times in tens of milliseconds, one that is
/// written in milliseconds; 1 and 0 are on, 0 and 1 off.
struct LED_ROW {
    int32_t m_Local = 0;
    int32_t m_OnTime = 0;
    int32_t m_OffTime = 0;
    int32_t m_LampTest = 0; ///< hundreds of milliseconds
    int32_t m_Color = LED_NO_COLOR;
};

/// The LED's state; nothing when the read did not return 1. `a_Result` becomes the call's result.
std::optional<LED_ROW> ReadLed(SESSION& a_Session, LED_PLACE a_Place, int& a_Result);
/// Writes, and returns the call's result. Local control is written as it is in the row.
int WriteLed(SESSION& a_Session, LED_PLACE a_Place, const LED_ROW& a_Row);

/// "baseboard", "AMC bay 3", "RTM".
std::string LedBayText(int a_Bay);
/// "1 hot swap", "2 out of service" …
std::string LedText(int a_LED);

} // namespace BMHOST
