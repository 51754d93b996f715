// The names of the LED colours, in blade files and reports.
#pragma once

#include "sim/blade/Blade.h"

#include <string_view>

namespace bladesim {

struct LedColorText {
    LedColor m_color;
    const char* m_name;
};

constexpr LedColorText LedColors[] = {
    {LedColor::Blue, "blue"},   {LedColor::Red, "red"},       {LedColor::Green, "green"},
    {LedColor::Amber, "amber"}, {LedColor::Orange, "orange"}, {LedColor::White, "white"},
};

/// The LEDs 0 to 3, which every FRU may have, in their usual colours.
constexpr LedColor UsualLedColors[] = {LedColor::Blue, LedColor::Red, LedColor::Green, LedColor::Amber};

constexpr const char* LEDColorName(LedColor color) {
    for (const LedColorText& known : LedColors) {
        if (known.m_color == color) return known.m_name;
    }
    return "";
}

} // namespace bladesim
