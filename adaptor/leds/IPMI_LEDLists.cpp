// The LED tables: every LED of the baseboard, and of each bay that has any.
#include "adaptor/leds/IPMI_LEDLists.h"

#include "adaptor/leds/IPMI_LEDReads.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

#include <optional>

namespace BM_ADAPTOR {

namespace {

// What differs between the tables of one kind: the read of a row, and its keys. Their lines are the same, those of the
// host-facing groups.
struct LED_TABLE {
    int (LED_READS::*m_Read)(const CBMIKeys*, CBMIParams*) const;
    BMIParamId_e m_LEDKey;
    std::optional<BMIParamId_e> m_BayKey;
};

constexpr LED_TABLE BASEBOARD_INTERNAL_TABLE = {&LED_READS::BaseboardInternal, BMI_HW_BB_LED_ID, std::nullopt};
constexpr LED_TABLE BASEBOARD_TABLE = {&LED_READS::Baseboard, BMI_HW_BB_LED_TYPE, std::nullopt};
constexpr LED_TABLE AMC_INTERNAL_TABLE = {&LED_READS::AMCInternal, BMI_HW_AMC_LED_ID, BMI_HW_AMC_LED_BAY};
constexpr LED_TABLE AMC_TABLE = {&LED_READS::AMC, BMI_HW_AMC_LED_TYPE, BMI_HW_AMC_LED_TABLE_BAY};

constexpr struct {
    HOST_LED_e m_LED;
    const char* m_Failed;
} BASEBOARD_LEDS[] = {
    {HOST_LED_HOT_SWAP, "IPMIAdaptor::Baseboard_LED_ReadTable - call for hot swap LED Failed "},
    {HOST_LED_OUT_OF_SERVICE, "IPMIAdaptor::Baseboard_LED_ReadTable - call for out of service LED Failed "},
    {HOST_LED_HEALTH, "IPMIAdaptor::Baseboard_LED_ReadTable - call for health LED Failed "},
};

// Adds the LED's row when it could be read.
int AddLEDRow(const ADAPTOR_FRAME& a_Frame, const LED_TABLE& a_Source, int32_t a_LEDID, int32_t a_Bay,
              CBMITable& a_Table) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, a_Source.m_LEDKey, a_LEDID);
    if (a_Source.m_BayKey) AddKey(l_Keys, *a_Source.m_BayKey, a_Bay);
    CBMIParams l_Row;
    const int l_Result = (LED_READS(a_Frame).*a_Source.m_Read)(&l_Keys, &l_Row);
    if (l_Result == RESULT_OK) a_Table.AddRow(l_Row);
    return l_Result;
}

// All three are tried; the table's result is that of the last one. On purpose.
int ReadBaseboardLEDs(const ADAPTOR_FRAME& a_Frame, const LED_TABLE& a_Source, CBMITable*& a_Table) {
    a_Table = new CBMITable;
    LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: Baseboard_LED_ReadTable");
    int l_Result = RESULT_NOT_FOUND;
    for (const auto& l_LED : BASEBOARD_LEDS) {
        l_Result = AddLEDRow(a_Frame, a_Source, l_LED.m_LED, 0, *a_Table);
        if (l_Result != RESULT_OK) LogError(a_Frame.m_Logger, "%s", l_LED.m_Failed);
    }
    return l_Result;
}

// A bay without a hot swap LED is skipped, one without a health LED is incomplete; one without an out-of-service LED
// ends the table with its result, and the rows added before stay. On purpose.
int ReadAMCLEDs(const ADAPTOR_FRAME& a_Frame, const LED_TABLE& a_Source, CBMITable*& a_Table) {
    a_Table = new CBMITable;
    LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: AMC_LED_ReadTable");
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= RTM_BAY; ++l_Bay) {
        LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: AMC_LED_ReadTable - looking for AMC %i", l_Bay);
        if (AddLEDRow(a_Frame, a_Source, HOST_LED_HOT_SWAP, l_Bay, *a_Table) != RESULT_OK) continue;
        const int l_OutOfService = AddLEDRow(a_Frame, a_Source, HOST_LED_OUT_OF_SERVICE, l_Bay, *a_Table);
        if (l_OutOfService != RESULT_OK) {
            LogError(a_Frame.m_Logger, "IPMIAdaptor::AMC_LED_ReadTable - call for out of service LED Failed");
            return l_OutOfService;
        }
        if (AddLEDRow(a_Frame, a_Source, HOST_LED_HEALTH, l_Bay, *a_Table) != RESULT_OK) {
            LogError(a_Frame.m_Logger, "IPMIAdaptor::AMC_LED_ReadTable - call for health LED Failed - may be optional");
        }
    }
    return RESULT_OK;
}

} // namespace

int LED_LISTS::BaseboardInternal(CBMITable*& a_Table) const {
    return ReadBaseboardLEDs(m_Frame, BASEBOARD_INTERNAL_TABLE, a_Table);
}

int LED_LISTS::Baseboard(CBMITable*& a_Table) const {
    return ReadBaseboardLEDs(m_Frame, BASEBOARD_TABLE, a_Table);
}

int LED_LISTS::AMCInternal(CBMITable*& a_Table) const {
    return ReadAMCLEDs(m_Frame, AMC_INTERNAL_TABLE, a_Table);
}

int LED_LISTS::AMC(CBMITable*& a_Table) const {
    return ReadAMCLEDs(m_Frame, AMC_TABLE, a_Table);
}

} // namespace BM_ADAPTOR
