// The run status of all modules: told to the host bay by bay, and shown by their LEDs.
#include "adaptor/startup/IPMI_RunStatus.h"

#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"

#include <memory>

namespace BM_ADAPTOR {

namespace {

/// Times that make an LED do something.
struct LED_TIMES {
    int32_t m_On;
    int32_t m_Off;
};

constexpr LED_TIMES LIGHT_ON = {1, 0};
constexpr LED_TIMES LIGHT_OFF = {0, 1};
constexpr LED_TIMES LIGHT_BLINKING = {500, 500}; // ms

LED_TIMES OutOfServiceLight(int a_Status) {
    switch (a_Status) {
    case RUN_STATUS_RUNNING:
        return LIGHT_OFF;
    case RUN_STATUS_STARTING:
    case RUN_STATUS_INITIALISING:
        return LIGHT_BLINKING;
    default:
        return LIGHT_ON;
    }
}

} // namespace

int RUN_STATUS::SetAll(int a_Status) {
    CBMITable* l_Made = nullptr;
    const int l_Result = m_Tables.ReadModules(l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    return l_Result == RESULT_OK ? SetRows(RowsOf(*l_Table), a_Status) : l_Result;
}

// One bay after the other: its run status, its out-of-service LED, its health LED. A status that cannot be set ends the
// walk, an LED does not.
int RUN_STATUS::SetRows(std::span<const CBMIParams* const> a_Rows, int a_Status) {
    const LED_TIMES l_OutOfService = OutOfServiceLight(a_Status);
    int l_Result = RESULT_OK;
    for (const CBMIParams* l_Row : a_Rows) {
        const auto l_Bay = IntParam(l_Row, BMI_HW_AMC_BAY);
        if (!l_Bay) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get AMCs bay location");
            return STARTUP_FAILED;
        }
        l_Result = mSetStatus(*l_Bay, a_Status);
        if (l_Result != RESULT_OK) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to set AMCs run status, Error Id = %ld",
                   static_cast<long>(l_Result));
            return l_Result;
        }
        if (const int l_LED = mSetLED(*l_Bay, HOST_LED_OUT_OF_SERVICE, l_OutOfService.m_On, l_OutOfService.m_Off);
            l_LED != RESULT_OK) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to set AMC OOS LED on Bay Location = %d, Error Id = %ld", *l_Bay,
                   static_cast<long>(l_LED));
        }
        l_Result = mSetLED(*l_Bay, HOST_LED_HEALTH, LIGHT_ON.m_On, LIGHT_ON.m_Off);
        if (l_Result != RESULT_OK) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to set AMCs Health LED, Error Id = %ld",
                   static_cast<long>(l_Result));
        }
    }
    return l_Result;
}

int RUN_STATUS::mSetStatus(int32_t a_Bay, int a_Status) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_BAY, a_Bay);
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_RUN_STATUS, a_Status);
    return m_Tables.WriteModule(l_Keys, l_Values);
}

// The colour's number is the LED's: 2 is red, 3 is green. The write answers 1, or 0 when it went through the probe:
// either way the LED is set.
int RUN_STATUS::mSetLED(int32_t a_Bay, int32_t a_LED, int32_t a_On, int32_t a_Off) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_LED_BAY, a_Bay);
    AddKey(l_Keys, BMI_HW_AMC_LED_ID, a_LED);
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_LED_COLOR, a_LED);
    AddInt(l_Values, BMI_HW_AMC_LED_ON_TIME, a_On);
    AddInt(l_Values, BMI_HW_AMC_LED_OFF_TIME, a_Off);
    AddInt(l_Values, BMI_HW_AMC_LED_LOCAL_CONTROL, 1);
    const int l_Result = m_Tables.WriteLED(l_Keys, l_Values);
    return l_Result == RESULT_NOTHING_DONE ? static_cast<int>(RESULT_OK) : l_Result;
}

} // namespace BM_ADAPTOR
