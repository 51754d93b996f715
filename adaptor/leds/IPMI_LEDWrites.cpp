// Writes of one LED: one rule for baseboard and AMC, and a table of what differs between them.
#include "adaptor/leds/IPMI_LEDWrites.h"

#include "adaptor/IPMI_LEDs.h"
#include "adaptor/leds/IPMI_LEDLookup.h"
#include "adaptor/leds/IPMI_LEDSimulation.h"
#include "common/veldo_common_checked.h"
#include "common/veldo_common_rows.h"
#include "ipmi/IPMI_Probe.h"

#include <optional>

namespace BM_ADAPTOR {

namespace {

// What differs between the writers. Both take internal rows.
struct LED_WRITER {
    BMIParamId_e m_LEDKey;
    std::optional<BMIParamId_e> m_BayKey; ///< must be there and is not used: the first AMC is written
    LED_SIMULATION_e m_Simulation;
    std::optional<int32_t> m_FRUDeviceID; ///< sent by the probe instead of the entity's own
    bool (*m_ToState)(const CBMIParams*, LED_STATE*);
    CHECKED_TEXT<1> m_Entry;
    CHECKED_TEXT<1> m_BadState;
    CHECKED_TEXT<0> m_NoKeys;
    CHECKED_TEXT<0> m_NoRow;
    CHECKED_TEXT<0> m_NoLEDKey;
    CHECKED_TEXT<1> m_TargetLED;
    CHECKED_TEXT<0> m_NoBayKey;
    CHECKED_TEXT<0> m_Simulated;
    CHECKED_TEXT<0> m_NoEntity;
    CHECKED_TEXT<1> m_FindingControl;
    CHECKED_TEXT<0> m_Converting;
    CHECKED_TEXT<2> m_UsingProbe;
    CHECKED_TEXT<1> m_FindingLED;
    CHECKED_TEXT<0> m_NoLED;
    CHECKED_TEXT<1> m_Color;
    CHECKED_TEXT<0> m_DefaultColor;
    CHECKED_TEXT<1> m_Sending;
};

constexpr int32_t BASEBOARD_FRU_DEVICE_ID = 0;

constexpr LED_WRITER BASEBOARD_WRITER = {
    .m_LEDKey = BMI_HW_BB_LED_ID,
    .m_BayKey = std::nullopt,
    .m_Simulation = LED_SIMULATED_WITH_BOARD,
    .m_FRUDeviceID = BASEBOARD_FRU_DEVICE_ID,
    .m_ToState = ConvertInternalRowToState,
    .m_Entry = "IPMIAdaptor :: Baseboard_LED_WriteParams (threadid=%x)",
    .m_BadState = "IPMIAdaptor :: Baseboard_LED_WriteParams -- In bad state %i",
    .m_NoKeys = "IPMIAdaptor::Baseboard_LED_WriteParams - pKeys==NULL",
    .m_NoRow = "IPMIAdaptor::Baseboard_LED_WriteParams - pParamRow==NULL",
    .m_NoLEDKey = "IPMIAdaptor::Baseboard_LED_WriteParams - LED Type not found",
    .m_TargetLED = "IPMIAdaptor :: Baseboard_LED_WriteParams -- l_TargetLED=%d",
    .m_NoBayKey = {},
    .m_Simulated = "IPMIAdaptor::Baseboard_LED_WriteParams - g_bCompleteIPMISimulation= true",
    .m_NoEntity = "IPMIAdaptor :: Baseboard_LED_WriteParams - Base Board not found ",
    .m_FindingControl =
        "IPMIAdaptor :: Baseboard_LED_WriteParams -- calling FindControlbyLEDID(l_BaseBoard, l_TargetLED=%d)",
    .m_Converting = "IPMIAdaptor :: Baseboard_LED_WriteParams -- calling ConvertInternalRowToState()",
    .m_UsingProbe = "IPMIAdaptor :: Baseboard_LED_WriteParams - FRUID=%i TargetLED=%i",
    .m_FindingLED = "IPMIAdaptor :: Baseboard_LED_WriteParams - calling FindLEDbyLEDID(l_BaseBoard, l_LEDID=%d\n",
    .m_NoLED = "IPMIAdaptor :: Baseboard_LED_WriteParams - LED not found",
    .m_Color = "IPMIAdaptor :: Baseboard_LED_WriteParams(), l_State->m_Color=%d",
    .m_DefaultColor = "IPMIAdaptor :: Baseboard_LED_WriteParams - Providing default Color",
    .m_Sending = "IPMIAdaptor :: Baseboard_LED_WriteParams(), Sending LED, l_State->m_Color=%d",
};

constexpr LED_WRITER AMC_WRITER = {
    .m_LEDKey = BMI_HW_AMC_LED_ID,
    .m_BayKey = BMI_HW_AMC_LED_BAY,
    .m_Simulation = LED_SIMULATED_WITH_MODULES,
    .m_FRUDeviceID = std::nullopt,
    .m_ToState = ConvertInternalAMCRowToState,
    .m_Entry = "IPMIAdaptor :: AMC_LED_WriteParams (threadid=%x)",
    .m_BadState = "IPMIAdaptor :: AMC_LED_WriteParams -- In bad state %i",
    .m_NoKeys = "IPMIAdaptor::AMC_LED_WriteParams - pKeys==NULL",
    .m_NoRow = "IPMIAdaptor::AMC_LED_WriteParams - pParamRow==NULL",
    .m_NoLEDKey = "IPMIAdaptor::AMC_LED_WriteParams - AMC Type not found",
    .m_TargetLED = "IPMIAdaptor :: AMC_LED_WriteParams -- l_TargetLED=%d",
    .m_NoBayKey = "IPMIAdaptor :: AMC_LED_WriteParams -- no AMC Bay Location in keys",
    .m_Simulated = {},
    .m_NoEntity =
        "IPMIAdaptor :: AMC_LED_WriteParams -- FindEntitybyEntityIDBayLocation() returns not found in all 1-8 "
        "bay locations, not to get controlID",
    .m_FindingControl = "IPMIAdaptor :: AMC_LED_WriteParams -- calling FindControlbyLEDID(l_AMC, l_TargetLED=%d)",
    .m_Converting = "IPMIAdaptor :: AMC_LED_WriteParams -- calling ConvertInternalAMCRowToState()",
    .m_UsingProbe = "IPMIAdaptor :: AMC_LED_WriteParams - FRUID=%i TargetLED=%i",
    .m_FindingLED = "IPMIAdaptor :: AMC_LED_WriteParams - calling FindLEDbyLEDID(l_AMC, l_LEDID=%d\n",
    .m_NoLED = "IPMIAdaptor :: AMC_LED_WriteParams - LED not found",
    .m_Color = "IPMIAdaptor :: AMC_LED_WriteParams(), l_State->m_Color=%d",
    .m_DefaultColor = "IPMIAdaptor :: AMC_LED_WriteParams - Providing default Color",
    .m_Sending = "IPMIAdaptor :: AMC_LED_WriteParams(), Sending LED, l_State->m_Color=%d",
};

// A PICMG code, which the probe then takes for an OpenIPMI colour: white is sent as orange, orange as amber, amber as
// blue. Blue and red are never chosen, and an LED that has none of the others is noted as green. On purpose.
int32_t DefaultColor(IPMI_LED& a_LED) {
    const MODEL_WRITER l_Model(g_EntityMapLock);
    if (a_LED.m_bWhite) return PICMG_LED_WHITE;
    if (a_LED.m_bOrange) return PICMG_LED_ORANGE;
    if (a_LED.m_bAmber) return PICMG_LED_AMBER;
    a_LED.m_bGreen = true;
    return PICMG_LED_GREEN;
}

int CheckLEDWrite(const ADAPTOR_FRAME& a_Frame, const LED_WRITER& a_Writer, const CBMIKeys* a_Keys,
                  const CBMIParams* a_Values) {
    TraceText(a_Frame.m_Logger, a_Writer.m_Entry, ThreadId());
    if (!a_Frame.IsStarted()) ErrorText(a_Frame.m_Logger, a_Writer.m_BadState, a_Frame.m_State.load());
    if (a_Keys == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Writer.m_NoKeys);
        return RESULT_NO_ARGUMENT;
    }
    if (a_Values == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Writer.m_NoRow);
        return RESULT_NO_ARGUMENT;
    }
    return RESULT_OK;
}

// The first AMC of all bays, whatever bay the host named. On purpose.
const IPMI_ENTITY* FirstAMC(const ADAPTOR_FRAME& a_Frame) {
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= AMC_BAY_LAST; ++l_Bay) {
        LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: AMC_LED_WriteParams -- calling FindEntitybyEntityIDBayLocation(%d)",
                 l_Bay);
        const IPMI_ENTITY* l_AMC = LED_LOOKUP(a_Frame).EntityOfBay(ENTITY_ID_AMC, l_Bay);
        if (l_AMC == nullptr) continue;
        LogTrace(a_Frame.m_Logger,
                 "IPMIAdaptor :: AMC_LED_WriteParams -- FindEntitybyEntityIDBayLocation(%d) returns FOUND, break",
                 l_Bay);
        return l_AMC;
    }
    return nullptr;
}

int WriteLEDByProbe(const ADAPTOR_FRAME& a_Frame, const LED_WRITER& a_Writer, const LED_TARGET& a_Target,
                    const CBMIParams& a_Values) {
    TraceText(a_Frame.m_Logger, a_Writer.m_UsingProbe, a_Target.m_FRUDeviceID, a_Target.m_HostLEDID);
    TraceText(a_Frame.m_Logger, a_Writer.m_FindingLED, a_Target.m_PICMGLEDID);
    if (a_Target.m_LED == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Writer.m_NoLED);
        return RESULT_NOT_FOUND;
    }
    LED_STATE l_State;
    if (!a_Writer.m_ToState(&a_Values, &l_State)) return RESULT_NO_VALUE;
    TraceText(a_Frame.m_Logger, a_Writer.m_Color, l_State.m_Color);
    if (l_State.m_Color == IPMI_CONTROL_COLOR_BLACK || l_State.m_Color == HOST_LED_OFF) {
        TraceText(a_Frame.m_Logger, a_Writer.m_DefaultColor);
        l_State.m_Color = DefaultColor(*a_Target.m_LED);
    }
    ENTITYCAPTURE* const l_Probe = g_ENTITYCapture;
    if (l_Probe == nullptr) return RESULT_NOT_FOUND; // nothing to send with
    TraceText(a_Frame.m_Logger, a_Writer.m_Sending, l_State.m_Color);
    return l_Probe->SendSetPICMCLEDState(a_Target.m_FRUDeviceID, a_Target.m_PICMGLEDID, &l_State);
}

int WriteLED(const ADAPTOR_FRAME& a_Frame, const LED_WRITER& a_Writer, const CBMIKeys& a_Keys,
             const CBMIParams& a_Values) {
    const auto l_LEDID = IntParam(&a_Keys, a_Writer.m_LEDKey);
    if (!l_LEDID) {
        ErrorText(a_Frame.m_Logger, a_Writer.m_NoLEDKey);
        return RESULT_NOT_FOUND;
    }
    TraceText(a_Frame.m_Logger, a_Writer.m_TargetLED, *l_LEDID);
    if (a_Writer.m_BayKey && !IntParam(&a_Keys, *a_Writer.m_BayKey)) {
        ErrorText(a_Frame.m_Logger, a_Writer.m_NoBayKey);
        return RESULT_NOT_FOUND;
    }
    if (IsSimulated(a_Writer.m_Simulation)) {
        TraceText(a_Frame.m_Logger, a_Writer.m_Simulated);
        return RESULT_OK;
    }

    const IPMI_ENTITY* const l_Entity = a_Writer.m_BayKey ? FirstAMC(a_Frame) : LED_LOOKUP::Entity(ENTITY_ID_BASEBOARD);
    if (l_Entity == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Writer.m_NoEntity);
        return RESULT_NOT_FOUND;
    }
    TraceText(a_Frame.m_Logger, a_Writer.m_FindingControl, *l_LEDID);
    LED_TARGET l_Target = LED_LOOKUP(a_Frame).Target(*l_Entity, *l_LEDID);
    l_Target.m_FRUDeviceID = a_Writer.m_FRUDeviceID.value_or(l_Target.m_FRUDeviceID);
    if (!l_Target.m_Control) return WriteLEDByProbe(a_Frame, a_Writer, l_Target, a_Values);

    TraceText(a_Frame.m_Logger, a_Writer.m_Converting);
    OPENIPMI_LED_REQUEST l_Request(&*l_Target.m_Control);
    if (!a_Writer.m_ToState(&a_Values, &l_Request.m_State)) return RESULT_NO_VALUE;
    l_Request.Write();
    return RESULT_OK;
}

} // namespace

int LED_WRITES::Baseboard(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const {
    const int l_Result = CheckLEDWrite(m_Frame, BASEBOARD_WRITER, a_Keys, a_Values);
    return l_Result == RESULT_OK ? WriteLED(m_Frame, BASEBOARD_WRITER, *a_Keys, *a_Values) : l_Result;
}

// The host-facing baseboard group is written through here too: keys tell whose LED it is.
int LED_WRITES::AMC(const CBMIKeys* a_Keys, const CBMIParams* a_Values) const {
    const int l_Result = CheckLEDWrite(m_Frame, AMC_WRITER, a_Keys, a_Values);
    if (l_Result != RESULT_OK) return l_Result;
    const bool l_Baseboard = IntParam(a_Keys, BMI_HW_BB_LED_ID) || IntParam(a_Keys, BMI_HW_BB_LED_TYPE);
    if (l_Baseboard && !IntParam(a_Keys, BMI_HW_AMC_LED_ID)) return Baseboard(a_Keys, a_Values);
    return WriteLED(m_Frame, AMC_WRITER, *a_Keys, *a_Values);
}

} // namespace BM_ADAPTOR
