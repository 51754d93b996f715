// One LED's setting, and the colours in which PICMG's commands name it.
#pragma once

#include <OpenIPMI/ipmiif.h>

#include <array>
#include <cstdint>
#include <string>

namespace BM_ADAPTOR {

/// PICMG colour codes (PICMG 3.0, Get LED Color Capabilities).
enum PICMG_LED_COLOR_e : int32_t {
    PICMG_LED_NO_COLOR = 0,
    PICMG_LED_BLUE = 1,
    PICMG_LED_RED = 2,
    PICMG_LED_GREEN = 3,
    PICMG_LED_AMBER = 4,
    PICMG_LED_ORANGE = 5,
    PICMG_LED_WHITE = 6
};

/// One LED's setting. On is 1/0, off is 0/1, blinking has both times above 1.
struct LED_STATE {
    LED_STATE() = default;
    /// Reads light 0 of an OpenIPMI setting; see ImportFromOPENIPMISettings.
    explicit LED_STATE(ipmi_light_setting_s& a_Settings);

    /// Reads light 0, up to the first failure: `m_Valid` tells whether all was read, `m_Text` what failed. Does nothing
    /// with null.
    void ImportFromOPENIPMISettings(ipmi_light_setting_s* a_Settings);

    int32_t m_Valid = 0;   ///< 1 once the state was filled
    int32_t m_Color = 0;   ///< OpenIPMI's light colours: 0 black, 1 white, 2 red, 3 green, 4 blue, 5 yellow, 6 orange
    int32_t m_OnTime = 0;  ///< to set: milliseconds; as read from a controller by the probe: tens of milliseconds
    int32_t m_OffTime = 0; ///< likewise
    int32_t m_LocalControl = 0;     ///< 1: the controller decides what the LED shows
    int32_t m_LampTestDuration = 0; ///< hundreds of milliseconds; 0 without a lamp test
    std::string m_Text;             ///< failure text of the last import; ends in the result code as one byte
    /// Supported colours: white, orange, amber (OpenIPMI's yellow), green, red, blue.
    std::array<bool, 6> m_ColorSupported{};
};

} // namespace BM_ADAPTOR
