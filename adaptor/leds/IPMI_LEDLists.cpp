// The LED tables: every LED of the baseboard, and of each bay that has any.
#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/leds/IPMI_LEDDifferences.h"
#include "common/veldo_common_rows.h"

namespace BM_ADAPTOR {

// A table is built by the reader of its group; the lines are the external tables' for the internal ones too.
struct LED_TABLE {
    int (IPMIAdaptor::*m_Read)(const CBMIKeys*, CBMIParams*);
    BMIParamId_e m_LEDKey;
    std::optional<BMIParamId_e> m_BayKey;
};

namespace {

constexpr LED_TABLE BASEBOARD_INTERNAL_TABLE = {&IPMIAdaptor::Baseboard_LED_Internal_ReadParams, BMI_HW_BB_LED_ID,
                                                std::nullopt};
constexpr LED_TABLE BASEBOARD_TABLE = {&IPMIAdaptor::Baseboard_LED_ReadParams, BMI_HW_BB_LED_TYPE, std::nullopt};
constexpr LED_TABLE AMC_INTERNAL_TABLE = {&IPMIAdaptor::AMC_LED_Internal_ReadParams, BMI_HW_AMC_LED_ID,
                                          BMI_HW_AMC_LED_BAY};
constexpr LED_TABLE AMC_TABLE = {&IPMIAdaptor::AMC_LED_ReadParams, BMI_HW_AMC_LED_TYPE, BMI_HW_AMC_LED_TABLE_BAY};

constexpr struct {
    HOST_LED_e m_LED;
    const char* m_Failed;
} BASEBOARD_LEDS[] = {
    {HOST_LED_HOT_SWAP, "IPMIAdaptor::Baseboard_LED_ReadTable - call for hot swap LED Failed "},
    {HOST_LED_OUT_OF_SERVICE, "IPMIAdaptor::Baseboard_LED_ReadTable - call for out of service LED Failed "},
    {HOST_LED_HEALTH, "IPMIAdaptor::Baseboard_LED_ReadTable - call for health LED Failed "},
};

} // namespace

// Adds the LED's row when it could be read.
int IPMIAdaptor::mAddLEDRow(const LED_TABLE& a_Source, int32_t a_LEDID, int32_t a_Bay, CBMITable& a_Table) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, a_Source.m_LEDKey, a_LEDID);
    if (a_Source.m_BayKey) AddKey(l_Keys, *a_Source.m_BayKey, a_Bay);
    CBMIParams l_Row;
    const int l_Result = (this->*a_Source.m_Read)(&l_Keys, &l_Row);
    if (l_Result == RESULT_OK) a_Table.AddRow(l_Row);
    return l_Result;
}

// All three are tried; the last one's result is the table's.
int IPMIAdaptor::mReadBaseboardLEDs(const LED_TABLE& a_Source, CBMITable*& a_Table) {
    a_Table = new CBMITable;
    LogTrace(m_Logger, "IPMIAdaptor :: Baseboard_LED_ReadTable");
    int l_Result = RESULT_NOT_FOUND;
    for (const auto& l_LED : BASEBOARD_LEDS) {
        l_Result = mAddLEDRow(a_Source, l_LED.m_LED, 0, *a_Table);
        if (l_Result != RESULT_OK) LogError(m_Logger, "%s", l_LED.m_Failed);
    }
    return l_Result;
}

// A bay without a hot swap LED is skipped, one without a health LED is incomplete; one without an out-of-service LED
// ends the table with its result, and the rows added before stay. On purpose.
int IPMIAdaptor::mReadAMCLEDs(const LED_TABLE& a_Source, CBMITable*& a_Table) {
    a_Table = new CBMITable;
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_LED_ReadTable");
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= RTM_BAY; ++l_Bay) {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_LED_ReadTable - looking for AMC %i", l_Bay);
        if (mAddLEDRow(a_Source, HOST_LED_HOT_SWAP, l_Bay, *a_Table) != RESULT_OK) continue;
        const int l_OutOfService = mAddLEDRow(a_Source, HOST_LED_OUT_OF_SERVICE, l_Bay, *a_Table);
        if (l_OutOfService != RESULT_OK) {
            LogError(m_Logger, "IPMIAdaptor::AMC_LED_ReadTable - call for out of service LED Failed");
            return l_OutOfService;
        }
        if (mAddLEDRow(a_Source, HOST_LED_HEALTH, l_Bay, *a_Table) != RESULT_OK) {
            LogError(m_Logger, "IPMIAdaptor::AMC_LED_ReadTable - call for health LED Failed - may be optional");
        }
    }
    return RESULT_OK;
}

int IPMIAdaptor::Baseboard_LED_Internal_ReadTable(CBMITable*& a_Table) {
    return mReadBaseboardLEDs(BASEBOARD_INTERNAL_TABLE, a_Table);
}

int IPMIAdaptor::Baseboard_LED_ReadTable(CBMITable*& a_Table) {
    return mReadBaseboardLEDs(BASEBOARD_TABLE, a_Table);
}

int IPMIAdaptor::AMC_LED_Internal_ReadTable(CBMITable*& a_Table) {
    return mReadAMCLEDs(AMC_INTERNAL_TABLE, a_Table);
}

int IPMIAdaptor::AMC_LED_ReadTable(CBMITable*& a_Table) {
    return mReadAMCLEDs(AMC_TABLE, a_Table);
}

} // namespace BM_ADAPTOR
