// A small carrier for the tests of what its controller answers: front board, AMC without LED 1, rear transition module.
#pragma once

#include "sim/blade/Blade.h"

namespace BLADESIM {

constexpr uint8_t ColorBit(LED_COLOR a_Color) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(a_Color));
}

/// Supports red and amber; its local colour is red, that of an override amber.
constexpr LED g_RedAmber{1, ColorBit(LED_COLOR::RED) | ColorBit(LED_COLOR::AMBER), LED_COLOR::RED, LED_COLOR::AMBER,
                         true};
constexpr LED g_Blue{0, ColorBit(LED_COLOR::BLUE), LED_COLOR::BLUE, LED_COLOR::BLUE, true};
/// Only ever shows what an override says.
constexpr LED g_GreenNoLocal{5, ColorBit(LED_COLOR::GREEN), LED_COLOR::GREEN, LED_COLOR::GREEN, false};

inline BLADE SampleCarrier() {
    BLADE l_Blade;
    l_Blade.m_File = "/blades/sample.json";
    l_Blade.m_Controller = {0x82, 0x35, 1, 3, 0x12, 0x017ED9, 0x0B1A, {}, true};
    l_Blade.m_FRUs = {
        {0, {0x41, 0, 5}, {g_Blue, g_RedAmber}, INVENTORY()},
        {2,
         {0x41, 7, 3},
         {g_Blue, {2, ColorBit(LED_COLOR::GREEN), LED_COLOR::GREEN, LED_COLOR::GREEN, true}, g_GreenNoLocal},
         {}},
        {7, {0x41, 9, 1}, {}, INVENTORY()},
    };
    l_Blade.m_FRUs[0].m_Inventory->m_Product.emplace().m_Name = "Seventeen letters";
    l_Blade.m_FRUs[2].m_Inventory->m_Raw.emplace();
    return l_Blade;
}

} // namespace BLADESIM
