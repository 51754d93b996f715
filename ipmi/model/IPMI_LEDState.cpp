// One LED's setting, as OpenIPMI's light settings have it.
#include "ipmi/model/IPMI_LEDState.h"

#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Callback.h"

namespace BM_ADAPTOR {

namespace {

constexpr int IMPORTED_LIGHT = 0; // every control of this blade has one light

// What an import reads, in order.
constexpr struct {
    int (*m_Get)(ipmi_light_setting_t*, int, int*);
    int32_t LED_STATE::*m_Field;
    const char* m_Failure;
} IMPORT_STEPS[] = {
    {ipmi_light_setting_get_color, &LED_STATE::m_Color, "ipmi_light_setting_get_color returned an error "},
    {ipmi_light_setting_get_on_time, &LED_STATE::m_OnTime, "ipmi_light_setting_get_on_time returned an error "},
    {ipmi_light_setting_get_off_time, &LED_STATE::m_OffTime, "ipmi_light_setting_get_off_time returned an error "},
    {ipmi_light_setting_in_local_control, &LED_STATE::m_LocalControl,
     "ipmi_light_setting_in_local_control returned an error "},
    // A second time, on purpose.
    {ipmi_light_setting_get_color, &LED_STATE::m_Color, "ipmi_light_setting_get_color returned an error "},
};

} // namespace

LED_STATE::LED_STATE(ipmi_light_setting_s& a_Settings) {
    LogTrace(g_Logger2, "LED_STATE :: LED_STATE");
    ImportFromOPENIPMISettings(&a_Settings);
}

void LED_STATE::ImportFromOPENIPMISettings(ipmi_light_setting_s* a_Settings) {
    LogTrace(g_Logger2, "LED_STATE :: ImportFromOPENIPMISettings");
    m_Valid = 0;
    m_Text.clear();
    if (a_Settings == nullptr) return;
    for (const auto& l_Step : IMPORT_STEPS) {
        const int l_Result = l_Step.m_Get(a_Settings, IMPORTED_LIGHT, &(this->*l_Step.m_Field));
        if (l_Result == 0) continue;
        m_Text = l_Step.m_Failure;
        m_Text += static_cast<char>(l_Result); // the code as one byte: do not print it as text
        return;
    }
    m_LampTestDuration = 0;
    m_Valid = 1;
}

} // namespace BM_ADAPTOR
