// The run status of all AMCs, in their table and on their LEDs.
#include "adaptor/IPMI_Adaptor.h"

#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"

#include <memory>

namespace BM_ADAPTOR {

/// Times that make an LED do something.
struct LED_TIMES {
    int32_t m_On;
    int32_t m_Off;
};

namespace {

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

// One bay after the other: its run status, its out-of-service LED, its health LED. A status that cannot be set ends the
// walk, an LED does not.
int IPMIAdaptor::mSetAmcRTMStatus(int a_Status) {
    CBMITable* l_Made = nullptr;
    int l_Result = AMC_HW_ReadTable(l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    if (l_Result != RESULT_OK) return l_Result;
    for (int i = 0; i < l_Table->GetSize(); ++i) {
        const auto l_Bay = IntParam(l_Table->Get(i), BMI_HW_AMC_BAY);
        if (!l_Bay) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get AMCs bay location");
            return STARTUP_FAILED;
        }
        l_Result = mSetBayStatus(*l_Bay, a_Status);
        if (l_Result != RESULT_OK) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to set AMCs run status, Error Id = %ld",
                   static_cast<long>(l_Result));
            return l_Result;
        }
        if (const int l_LED = mSetBayLED(*l_Bay, HOST_LED_OUT_OF_SERVICE, OutOfServiceLight(a_Status));
            l_LED != RESULT_OK) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to set AMC OOS LED on Bay Location = %d, Error Id = %ld", *l_Bay,
                   static_cast<long>(l_LED));
        }
        l_Result = mSetBayLED(*l_Bay, HOST_LED_HEALTH, LIGHT_ON);
        if (l_Result != RESULT_OK) {
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to set AMCs Health LED, Error Id = %ld",
                   static_cast<long>(l_Result));
        }
    }
    return l_Result;
}

int IPMIAdaptor::mSetBayStatus(int32_t a_Bay, int a_Status) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_BAY, a_Bay);
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_RUN_STATUS, a_Status);
    return AMC_HW_WriteParams(&l_Keys, &l_Values);
}

// The colours are those that the LEDs of an AMC have at these places: 2 is red, 3 is green. The write answers 1, or 0
// when it went through the probe: either way the LED is set.
int IPMIAdaptor::mSetBayLED(int32_t a_Bay, int32_t a_LED, const LED_TIMES& a_Times) {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_LED_BAY, a_Bay);
    AddKey(l_Keys, BMI_HW_AMC_LED_ID, a_LED);
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_LED_COLOR, a_LED);
    AddInt(l_Values, BMI_HW_AMC_LED_ON_TIME, a_Times.m_On);
    AddInt(l_Values, BMI_HW_AMC_LED_OFF_TIME, a_Times.m_Off);
    AddInt(l_Values, BMI_HW_AMC_LED_LOCAL_CONTROL, 1);
    const int l_Result = AMC_LED_WriteParams(&l_Keys, &l_Values);
    return l_Result == RESULT_NOTHING_DONE ? static_cast<int>(RESULT_OK) : l_Result;
}

} // namespace BM_ADAPTOR
