// The LED colours by name, as blade files and reports have them.
#pragma once

#include "sim/blade/Blade.h"

#include <string_view>

namespace BLADESIM {

struct LED_COLOR_TEXT {
    LED_COLOR m_Color;
    const char* m_Name;
};

constexpr LED_COLOR_TEXT g_LedColors[] = {
    {LED_COLOR::BLUE, "blue"},   {LED_COLOR::RED, "red"},       {LED_COLOR::GREEN, "green"},
    {LED_COLOR::AMBER, "amber"}, {LED_COLOR::ORANGE, "orange"}, {LED_COLOR::WHITE, "white"},
};

constexpr const char* LEDColorName(LED_COLOR a_Color) {
    for (const LED_COLOR_TEXT& l_Color : g_LedColors) {
        if (l_Color.m_Color == a_Color) return l_Color.m_Name;
    }
    return "";
}

} // namespace BLADESIM
