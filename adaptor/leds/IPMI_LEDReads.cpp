// Reads of one LED: one rule for the four groups, and a table of what differs between them.
#include "adaptor/leds/IPMI_LEDReads.h"

#include "adaptor/IPMI_LEDs.h"
#include "adaptor/leds/IPMI_LEDLookup.h"
#include "adaptor/leds/IPMI_LEDSimulation.h"
#include "common/veldo_common_checked.h"
#include "common/veldo_common_rows.h"
#include "ipmi/IPMI_Probe.h"

#include <optional>

namespace BM_ADAPTOR {

namespace {

// What differs between the readers: keys, simulation rule, conversion, and texts, some of which name another handler.
struct LED_READER {
    BMIParamId_e m_LEDKey;
    std::optional<BMIParamId_e> m_BayKey; ///< none: the baseboard's LEDs
    bool m_bSimulatedRowHasBay;
    LED_SIMULATION_e m_Simulation;
    void (*m_ToRow)(CBMIParams*, const LED_STATE&);
    CHECKED_TEXT<1> m_BadState;
    CHECKED_TEXT<0> m_NoRow;
    CHECKED_TEXT<1> m_Entry;
    CHECKED_TEXT<0> m_NoLEDKey;
    CHECKED_TEXT<0> m_NoBayKey;
    CHECKED_TEXT<1> m_Looking;
    CHECKED_TEXT<0> m_NoEntity;
    CHECKED_TEXT<0> m_Simulated;
    CHECKED_TEXT<0> m_UsingControl;
    CHECKED_TEXT<0> m_ReadComplete;
    CHECKED_TEXT<2> m_UsingProbe;
    CHECKED_TEXT<0> m_NoLED;
    CHECKED_TEXT<0> m_Packing;
};

constexpr LED_READER BASEBOARD_INTERNAL_READER = {
    .m_LEDKey = BMI_HW_BB_LED_ID,
    .m_BayKey = std::nullopt,
    .m_bSimulatedRowHasBay = false,
    .m_Simulation = LED_SIMULATED_WITH_BOARD,
    .m_ToRow = ConvertStateToInternalRow,
    .m_BadState = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams -- In bad state %i",
    .m_NoRow = "IPMIAdaptor::Baseboard_LED_Internal_ReadParams pRow=NULL",
    .m_Entry = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams (threadid=%x)",
    .m_NoLEDKey = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams -- no LED Type in keys",
    .m_NoBayKey = {},
    .m_Looking = {},
    .m_NoEntity = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Base Board not found ",
    .m_Simulated = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - simulate data",
    .m_UsingControl = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Using OpenIPMI Control",
    .m_ReadComplete = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Read complete",
    .m_UsingProbe = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - FRUID=%i TargetLED=%i",
    .m_NoLED = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - LED not found",
    .m_Packing = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - Packing LED Response",
};

constexpr LED_READER BASEBOARD_READER = {
    .m_LEDKey = BMI_HW_BB_LED_TYPE,
    .m_BayKey = std::nullopt,
    .m_bSimulatedRowHasBay = false,
    .m_Simulation = LED_SIMULATED_WITH_BOARD,
    .m_ToRow = ConvertStateToExternalRow,
    .m_BadState = "IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state %i",
    .m_NoRow = "IPMIAdaptor::Baseboard_LED_ReadParams pRow=NULL",
    .m_Entry = "IPMIAdaptor :: Baseboard_LED_ReadParams (threadid=%x)",
    .m_NoLEDKey = "IPMIAdaptor :: Baseboard_LED_ReadParams -- no LED Type in keys",
    .m_NoBayKey = {},
    .m_Looking = "IPMIAdaptor :: Baseboard_LED_ReadParams -- Looking for LED %i",
    .m_NoEntity = "IPMIAdaptor :: Board_Hardware_ReadParams - Base Board not found ",     // names the board's handler
    .m_Simulated = "IPMIAdaptor :: Board_Hardware_ReadParams - providing simulated data", // names the board's handler
    .m_UsingControl = "IPMIAdaptor :: Baseboard_LED_ReadParams - Using OpenIPMI Control",
    .m_ReadComplete = "IPMIAdaptor :: Baseboard_LED_ReadParams - Read complete",
    .m_UsingProbe = "IPMIAdaptor :: Baseboard_LED_ReadParams - FRUID=%i TargetLED=%i",
    .m_NoLED = "IPMIAdaptor :: Baseboard_LED_ReadParams - LED not found",
    .m_Packing = "IPMIAdaptor :: Baseboard_LED_ReadParams - Packing LED Response",
};

constexpr LED_READER AMC_INTERNAL_READER = {
    .m_LEDKey = BMI_HW_AMC_LED_ID,
    .m_BayKey = BMI_HW_AMC_LED_BAY,
    .m_bSimulatedRowHasBay = false, // the one row without all its keys
    .m_Simulation = LED_SIMULATED_WITH_MODULES,
    .m_ToRow = ConvertStateToInternalAMCRow,
    .m_BadState = "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- In bad state %i",
    .m_NoRow = "IPMIAdaptor::AMC_LED_Internal_ReadParams pRow=NULL",
    .m_Entry = "IPMIAdaptor :: AMC_LED_Internal_ReadParams (threadid=%x)",
    .m_NoLEDKey = "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- no LED Type in keys",
    .m_NoBayKey = "IPMIAdaptor :: AMC_LED_Internal_ReadParams -- no Bay Location in keys",
    .m_Looking = {},
    .m_NoEntity = "IPMIAdaptor :: AMC_LED_Internal_ReadParams - AMC not found",
    .m_Simulated = "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams - simulate data", // names the baseboard's handler
    .m_UsingControl = "IPMIAdaptor :: AMC_LED_Internal_ReadParams - Using OpenIPMI Control",
    .m_ReadComplete = "IPMIAdaptor :: AMC_LED_Internal_ReadParams - Read complete",
    .m_UsingProbe = "IPMIAdaptor :: AMC_LED_Internal_ReadParams - FRUID=%i TargetLED=%i",
    .m_NoLED = "IPMIAdaptor :: AMC_LED_Internal_ReadParams - LED not found",
    .m_Packing = "IPMIAdaptor :: AMC_LED_Internal_ReadParams - Packing LED Response",
};

constexpr LED_READER AMC_READER = {
    .m_LEDKey = BMI_HW_AMC_LED_TYPE,
    .m_BayKey = BMI_HW_AMC_LED_TABLE_BAY,
    .m_bSimulatedRowHasBay = true,
    .m_Simulation = LED_SIMULATED_WITH_MODULES,
    .m_ToRow = ConvertStateToExternalAMCRow,
    .m_BadState = "IPMIAdaptor :: AMC_LED_ReadParams -- In bad state %i",
    .m_NoRow = "IPMIAdaptor::AMC_LED_ReadParams pRow=NULL",
    .m_Entry = "IPMIAdaptor :: AMC_LED_ReadParams (threadid=%x)",
    .m_NoLEDKey = "AMC_LED_ReadParams Read row - key AMC TYPE not found",
    .m_NoBayKey = "AMC_LED_ReadParams Read row - key Bay Location not found",
    .m_Looking = {},
    .m_NoEntity = "IPMIAdaptor :: AMC_LED_ReadParams - Base Board not found ", // says baseboard for an AMC
    .m_Simulated = "IPMIAdaptor :: AMC_LED_ReadParams - simulate data",
    .m_UsingControl = "IPMIAdaptor :: AMC_LED_ReadParams - Using OpenIPMI Control",
    .m_ReadComplete = "IPMIAdaptor :: AMC_LED_ReadParams - Read complete",
    .m_UsingProbe = "IPMIAdaptor :: AMC_LED_ReadParams - Using Bypass to send LED command FRUID=%i TargetLED=%d",
    .m_NoLED = "IPMIAdaptor :: AMC_LED_ReadParams - LED not found",
    .m_Packing = "IPMIAdaptor :: AMC_LED_ReadParams - Packing LED Response",
};

// What every simulated LED shows: steady red under local control.
LED_STATE SimulatedState() {
    LED_STATE l_State;
    l_State.m_Color = IPMI_CONTROL_COLOR_RED;
    l_State.m_OnTime = 1;
    l_State.m_LocalControl = 1;
    l_State.m_LampTestDuration = 1000;
    l_State.m_ColorSupported[4] = true; // red
    return l_State;
}

void AddLEDKeys(const LED_READER& a_Reader, int32_t a_LEDID, std::optional<int32_t> a_Bay, CBMIParams& a_Row) {
    AddKey(a_Row, a_Reader.m_LEDKey, a_LEDID);
    if (a_Bay && a_Reader.m_BayKey) AddKey(a_Row, *a_Reader.m_BayKey, *a_Bay);
}

const IPMI_ENTITY* FindLEDsEntity(const LED_LOOKUP& a_Lookup, const LED_READER& a_Reader, int32_t a_Bay) {
    if (!a_Reader.m_BayKey) return LED_LOOKUP::Entity(ENTITY_ID_BASEBOARD);
    const IPMI_ENTITY* l_Entity = a_Lookup.EntityOfBay(ENTITY_ID_AMC, a_Bay);
    return l_Entity != nullptr ? l_Entity : a_Lookup.EntityOfBay(ENTITY_ID_RTM, a_Bay);
}

// Nothing when there is no way to the LED; otherwise there is a row, whatever the result.
std::optional<int> ReadLEDState(const ADAPTOR_FRAME& a_Frame, const LED_READER& a_Reader, LED_TARGET& a_Target,
                                LED_STATE& a_State) {
    if (a_Target.m_Control) {
        TraceText(a_Frame.m_Logger, a_Reader.m_UsingControl);
        OPENIPMI_LED_REQUEST l_Request(&*a_Target.m_Control);
        l_Request.Read();
        TraceText(a_Frame.m_Logger, a_Reader.m_ReadComplete);
        a_State = l_Request.m_State;
        return RESULT_OK;
    }
    TraceText(a_Frame.m_Logger, a_Reader.m_UsingProbe, a_Target.m_FRUDeviceID, a_Target.m_HostLEDID);
    if (a_Target.m_LED == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Reader.m_NoLED);
        return std::nullopt;
    }
    ENTITYCAPTURE* const l_Probe = g_ENTITYCapture;
    if (l_Probe == nullptr) return std::nullopt; // nothing to ask
    const int l_Result = l_Probe->SendGetPICMCLEDState(a_Target.m_FRUDeviceID, a_Target.m_PICMGLEDID, &a_State);
    TraceText(a_Frame.m_Logger, a_Reader.m_Packing);
    return l_Result;
}

int ReadLED(const ADAPTOR_FRAME& a_Frame, const LED_READER& a_Reader, const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    if (!a_Frame.IsStarted()) ErrorText(a_Frame.m_Logger, a_Reader.m_BadState, a_Frame.m_State.load());
    if (a_Row == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Reader.m_NoRow);
        return RESULT_NOT_FOUND;
    }
    TraceText(a_Frame.m_Logger, a_Reader.m_Entry, ThreadId());
    if (a_Keys == nullptr) return RESULT_NOT_FOUND;
    const auto l_LEDID = IntParam(a_Keys, a_Reader.m_LEDKey);
    if (!l_LEDID) {
        ErrorText(a_Frame.m_Logger, a_Reader.m_NoLEDKey);
        return RESULT_NOT_FOUND;
    }
    const auto l_Bay = a_Reader.m_BayKey ? IntParam(a_Keys, *a_Reader.m_BayKey) : std::nullopt;
    if (a_Reader.m_BayKey && !l_Bay) {
        ErrorText(a_Frame.m_Logger, a_Reader.m_NoBayKey);
        return RESULT_NOT_FOUND;
    }
    TraceText(a_Frame.m_Logger, a_Reader.m_Looking, *l_LEDID);

    const LED_LOOKUP l_Lookup(a_Frame);
    const IPMI_ENTITY* const l_Entity = FindLEDsEntity(l_Lookup, a_Reader, l_Bay.value_or(0));
    if (l_Entity == nullptr) {
        ErrorText(a_Frame.m_Logger, a_Reader.m_NoEntity);
        return RESULT_NOT_FOUND;
    }
    if (IsSimulated(a_Reader.m_Simulation)) {
        TraceText(a_Frame.m_Logger, a_Reader.m_Simulated);
        AddLEDKeys(a_Reader, *l_LEDID, a_Reader.m_bSimulatedRowHasBay ? l_Bay : std::nullopt, *a_Row);
        a_Reader.m_ToRow(a_Row, SimulatedState());
        return RESULT_OK;
    }
    LED_TARGET l_Target = l_Lookup.Target(*l_Entity, *l_LEDID);
    LED_STATE l_State;
    const auto l_Result = ReadLEDState(a_Frame, a_Reader, l_Target, l_State);
    if (!l_Result) return RESULT_NOT_FOUND;
    AddLEDKeys(a_Reader, *l_LEDID, l_Bay, *a_Row);
    a_Reader.m_ToRow(a_Row, l_State);
    return *l_Result;
}

} // namespace

int LED_READS::BaseboardInternal(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    return ReadLED(m_Frame, BASEBOARD_INTERNAL_READER, a_Keys, a_Row);
}

int LED_READS::Baseboard(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    return ReadLED(m_Frame, BASEBOARD_READER, a_Keys, a_Row);
}

int LED_READS::AMCInternal(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    return ReadLED(m_Frame, AMC_INTERNAL_READER, a_Keys, a_Row);
}

int LED_READS::AMC(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    return ReadLED(m_Frame, AMC_READER, a_Keys, a_Row);
}

} // namespace BM_ADAPTOR
