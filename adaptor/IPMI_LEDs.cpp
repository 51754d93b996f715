// The LED tables. So far: writes of the baseboard's LEDs under the complete simulation.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/IPMI_Adaptor_Rows.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread_Model.h"

namespace BM_ADAPTOR {

int IPMIAdaptor::Baseboard_LED_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    LogTrace(m_Logger, "IPMIAdaptor :: Baseboard_LED_WriteParams (threadid=%x)", ThreadId());
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: Baseboard_LED_WriteParams -- In bad state %i", m_State.load());
    }
    if (a_Keys == nullptr) {
        LogError(m_Logger, "IPMIAdaptor::Baseboard_LED_WriteParams - pKeys==NULL");
        return RESULT_NO_ARGUMENT;
    }
    if (a_Values == nullptr) {
        LogError(m_Logger, "IPMIAdaptor::Baseboard_LED_WriteParams - pParamRow==NULL");
        return RESULT_NO_ARGUMENT;
    }
    if (!IntParam(a_Keys, BMI_HW_BB_LED_ID)) return RESULT_NOT_FOUND;
    if (!g_bCompleteIPMISimulation) return RESULT_NOTHING_DONE; // the real LEDs are not served yet
    LogTrace(m_Logger, "IPMIAdaptor::Baseboard_LED_WriteParams - g_bCompleteIPMISimulation= true");
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
