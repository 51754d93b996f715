// The parameters of the internal LED groups' rows, side by side: groups 0x100 and 0x200 follow one rule.
#pragma once

#include "common/veldo_common_protocol.h"

#include <array>
#include <cstddef>
#include <optional>

namespace BM_ADAPTOR {

/// The colours that an LED may support, in the order of every list of them.
inline constexpr std::array g_LEDColors = {INTERNAL_LED_WHITE, INTERNAL_LED_ORANGE, INTERNAL_LED_AMBER,
                                           INTERNAL_LED_GREEN, INTERNAL_LED_RED,    INTERNAL_LED_BLUE};

struct LED_ROW_IDS {
    BMIGroup_e m_Group;
    BMIParamId_e m_LED;                ///< a key
    std::optional<BMIParamId_e> m_Bay; ///< a key, where the group has bays
    BMIParamId_e m_LocalControl;
    BMIParamId_e m_OnTime;
    BMIParamId_e m_OffTime;
    BMIParamId_e m_LampTest;
    BMIParamId_e m_Color;
    std::array<BMIParamId_e, g_LEDColors.size()> m_Supports; ///< in the order of g_LEDColors
};

inline constexpr LED_ROW_IDS g_BaseboardLEDIds = {BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL,
                                                  BMI_HW_BB_LED_ID,
                                                  std::nullopt,
                                                  BMI_HW_BB_LED_LOCAL_CONTROL,
                                                  BMI_HW_BB_LED_ON_TIME,
                                                  BMI_HW_BB_LED_OFF_TIME,
                                                  BMI_HW_BB_LED_LAMP_TEST,
                                                  BMI_HW_BB_LED_COLOR,
                                                  {BMI_HW_BB_LED_SUPPORTS_WHITE, BMI_HW_BB_LED_SUPPORTS_ORANGE,
                                                   BMI_HW_BB_LED_SUPPORTS_AMBER, BMI_HW_BB_LED_SUPPORTS_GREEN,
                                                   BMI_HW_BB_LED_SUPPORTS_RED, BMI_HW_BB_LED_SUPPORTS_BLUE}};

inline constexpr LED_ROW_IDS g_AMCLEDIds = {BMI_GROUP_HARDWARE_AMC_LED_INTERNAL,
                                            BMI_HW_AMC_LED_ID,
                                            BMI_HW_AMC_LED_BAY,
                                            BMI_HW_AMC_LED_LOCAL_CONTROL,
                                            BMI_HW_AMC_LED_ON_TIME,
                                            BMI_HW_AMC_LED_OFF_TIME,
                                            BMI_HW_AMC_LED_LAMP_TEST,
                                            BMI_HW_AMC_LED_COLOR,
                                            {BMI_HW_AMC_LED_SUPPORTS_WHITE, BMI_HW_AMC_LED_SUPPORTS_ORANGE,
                                             BMI_HW_AMC_LED_SUPPORTS_AMBER, BMI_HW_AMC_LED_SUPPORTS_GREEN,
                                             BMI_HW_AMC_LED_SUPPORTS_RED, BMI_HW_AMC_LED_SUPPORTS_BLUE}};

} // namespace BM_ADAPTOR
