// An LED's setting to and from the host's rows. Baseboard and AMC rows follow one rule and differ in their ids.
#include "adaptor/IPMI_LEDs.h"

#include "common/veldo_common_led_rows.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

#include <cstdlib>

namespace BM_ADAPTOR {

namespace {

// A value that no write can do without: no default is safe.
std::optional<int32_t> Required(const CBMIParams* a_Row, BMIParamId_e a_Id) {
    const auto l_Value = IntParam(a_Row, a_Id);
    if (!l_Value) LogError(g_Logger2, "LED row without an integer 0x%x", static_cast<unsigned>(a_Id));
    return l_Value;
}

bool RowToState(const CBMIParams* a_Row, const LED_ROW_IDS& a_Ids, LED_STATE* a_State) {
    const auto l_Override = Required(a_Row, a_Ids.m_LocalControl);
    const auto l_OnTime = Required(a_Row, a_Ids.m_OnTime);
    const auto l_OffTime = Required(a_Row, a_Ids.m_OffTime);
    if (!l_Override || !l_OnTime || !l_OffTime || a_State == nullptr) return false;
    // A host writes the inverse, an override flag, but StateToRow does not invert. On purpose.
    a_State->m_LocalControl = *l_Override == 0 ? 1 : 0;
    a_State->m_OnTime = *l_OnTime;
    a_State->m_OffTime = *l_OffTime;
    // The off time, not the lamp test's own value. On purpose.
    a_State->m_LampTestDuration = a_Row->GetParamById(a_Ids.m_LampTest) != nullptr ? *l_OffTime : 0;
    a_State->m_Color = IntParam(a_Row, a_Ids.m_Color).value_or(IPMI_CONTROL_COLOR_BLACK);
    return true;
}

void StateToRow(CBMIParams& a_Row, const LED_ROW_IDS& a_Ids, const LED_STATE& a_State) {
    AddInt(a_Row, a_Ids.m_LocalControl, a_State.m_LocalControl); // as it is, see RowToState
    AddInt(a_Row, a_Ids.m_OnTime, a_State.m_OnTime);
    AddInt(a_Row, a_Ids.m_OffTime, a_State.m_OffTime);
    AddInt(a_Row, a_Ids.m_LampTest, a_State.m_LampTestDuration);
    AddInt(a_Row, a_Ids.m_Color, a_State.m_Color);
    // LED_STATE::m_ColorSupported has the order of g_LEDColors.
    for (std::size_t i = 0; i < a_Ids.m_Supports.size(); ++i)
        AddBool(a_Row, a_Ids.m_Supports[i], a_State.m_ColorSupported[i]);
}

[[noreturn]] void EndWithoutRow(const char* a_Text) {
    LogError(g_Logger2, "%s", a_Text);
    exit(1);
}

bool IsOff(const LED_STATE& a_State) {
    return a_State.m_Color == IPMI_CONTROL_COLOR_BLACK || (a_State.m_OnTime == 0 && a_State.m_OffTime == 1);
}

int32_t HostColor(int32_t a_Color) {
    switch (a_Color) {
    case IPMI_CONTROL_COLOR_RED:
        return HOST_LED_RED;
    case IPMI_CONTROL_COLOR_GREEN:
        return HOST_LED_GREEN;
    case IPMI_CONTROL_COLOR_BLUE:
        return HOST_LED_BLUE;
    case IPMI_CONTROL_COLOR_YELLOW:
    case IPMI_CONTROL_COLOR_ORANGE: // the host knows no orange
        return HOST_LED_AMBER;
    default:
        return HOST_LED_WHITE;
    }
}

int32_t HostMode(const LED_STATE& a_State) {
    if (a_State.m_OnTime <= 1) return HOST_LED_STEADY;
    if (a_State.m_OffTime < 2) {
        LogError(g_Logger2, "Inconsistant on off time -- defaulting to ON -- on=%i off=%i", a_State.m_OnTime,
                 a_State.m_OffTime);
        return HOST_LED_STEADY;
    }
    return a_State.m_OffTime > 125 ? HOST_LED_BLINKS_SLOWLY : HOST_LED_BLINKS;
}

void StateToExternalRow(CBMIParams* a_Row, BMIParamId_e a_ColorId, BMIParamId_e a_ModeId, const LED_STATE& a_State) {
    if (a_Row == nullptr) return;
    const bool l_Off = IsOff(a_State);
    AddInt(*a_Row, a_ColorId, l_Off ? static_cast<int32_t>(HOST_LED_OFF) : HostColor(a_State.m_Color));
    AddInt(*a_Row, a_ModeId, l_Off ? static_cast<int32_t>(HOST_LED_STEADY) : HostMode(a_State));
}

} // namespace

bool ConvertInternalRowToState(const CBMIParams* a_Row, LED_STATE* a_State) {
    return RowToState(a_Row, g_BaseboardLEDIds, a_State);
}

bool ConvertInternalAMCRowToState(const CBMIParams* a_Row, LED_STATE* a_State) {
    if (!RowToState(a_Row, g_AMCLEDIds, a_State)) return false;
    LogTrace(g_Logger2,
             "IPMIAdaptor :: ConvertInternalAMCRowToState(), returning a_LEDState->m_OnTime=%d,m_OffTime=%d, "
             "m_LocalControl=%d,\t\t\t\tm_LampTestDuration=%d, m_Color=%d\n",
             a_State->m_OnTime, a_State->m_OffTime, a_State->m_LocalControl, a_State->m_LampTestDuration,
             a_State->m_Color);
    return true;
}

void ConvertStateToInternalRow(CBMIParams* a_Row, const LED_STATE& a_State) {
    LogTrace(g_Logger2, "BBLED-ConvertStateToInternalRow");
    if (a_Row == nullptr) EndWithoutRow("ERROR ConvertStateToInternalRow a_pRow==NULL");
    StateToRow(*a_Row, g_BaseboardLEDIds, a_State);
}

void ConvertStateToInternalAMCRow(CBMIParams* a_Row, const LED_STATE& a_State) {
    LogTrace(g_Logger2, "BBLED-ConvertStateToInternalAMCRow");
    if (a_Row == nullptr) EndWithoutRow("ERROR ConvertStateToInternalAMCRow a_pRow==NULL");
    StateToRow(*a_Row, g_AMCLEDIds, a_State);
}

void ConvertStateToExternalRow(CBMIParams* a_Row, const LED_STATE& a_State) {
    StateToExternalRow(a_Row, BMI_HW_BB_LED_STATE_COLOR, BMI_HW_BB_LED_STATE_MODE, a_State);
}

void ConvertStateToExternalAMCRow(CBMIParams* a_Row, const LED_STATE& a_State) {
    StateToExternalRow(a_Row, BMI_HW_AMC_LED_STATE_COLOR, BMI_HW_AMC_LED_STATE_MODE, a_State);
}

} // namespace BM_ADAPTOR
