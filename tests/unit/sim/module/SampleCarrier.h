// A small carrier for the tests of what its controller answers: front board, AMC without LED 1, rear transition module.
#pragma once

#include "sim/blade/Blade.h"

namespace bladesim {

constexpr uint8_t ColorBit(LedColor color) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(color));
}

/// Supports red and amber; its local colour is red, its override colour amber.
constexpr Led RedAmber{1, ColorBit(LedColor::Red) | ColorBit(LedColor::Amber), LedColor::Red, LedColor::Amber, true};
constexpr Led Blue{0, ColorBit(LedColor::Blue), LedColor::Blue, LedColor::Blue, true};
/// Shows overrides only.
constexpr Led GreenNoLocal{5, ColorBit(LedColor::Green), LedColor::Green, LedColor::Green, false};

inline Blade SampleCarrier() {
    Blade blade;
    blade.m_file = "/blades/sample.json";
    blade.m_controller = {0x82, 0x35, 1, 3, 0x12, 0x017ED9, 0x0B1A, {}, true};
    blade.m_frus = {
        {0, {0x41, 0, 5}, {Blue, RedAmber}, Inventory()},
        {2,
         {0x41, 7, 3},
         {Blue, {2, ColorBit(LedColor::Green), LedColor::Green, LedColor::Green, true}, GreenNoLocal},
         {}},
        {7, {0x41, 9, 1}, {}, Inventory()},
    };
    blade.m_frus[0].m_inventory->m_product.emplace().m_name = "Seventeen letters";
    blade.m_frus[2].m_inventory->m_raw.emplace();
    return blade;
}

} // namespace bladesim
