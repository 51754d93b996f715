// One external port of the switch: what the driver is told and asked, and what the storage keeps.
#include "adaptor/switch/IPMI_SwitchPort.h"

#include "adaptor/IPMI_Adaptor.h"
#include "bm/BoardDriver.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_storage.h"
#include "common/veldo_common_trace.h"

#include <utility>

namespace BM_ADAPTOR {

namespace {

enum DRIVER_MODE_e : int { DRIVER_DISABLE = 0, DRIVER_ENABLE = 1, DRIVER_QUERY = 2 };

} // namespace

IPMI_SWITCHPORT::IPMI_SWITCHPORT(int a_PortNumber, int a_BackendId, TELQ_Ext_If_Types_e a_Type, std::string a_Name,
                                 IPMIAdaptor* a_Adaptor)
    : m_Adaptor(a_Adaptor),
      m_Storage(m_Adaptor != nullptr ? m_Adaptor->GetStorage() : nullptr),
      m_PortNumber(a_PortNumber),
      m_BackendId(a_BackendId),
      m_Type(a_Type),
      m_Name(std::move(a_Name)) {}

// The driver is asked outside the transactions, so another process may store a state meanwhile. Its row is then found
// when this one cannot be created, and counts. A state that the switch could not tell is not stored: the next start
// would take it for the user's.
int IPMI_SWITCHPORT::Init() {
    if (m_Storage == nullptr) return QuerySwitchPort();
    std::optional<int32_t> l_Stored;
    {
        const STORAGE_TRANSACTION l_Transaction(*m_Storage);
        if (l_Transaction.IsOpen()) l_Stored = mStoredState();
    }
    if (l_Stored) return mUseStored(*l_Stored);
    if (QuerySwitchPort() != RESULT_OK) return RESULT_NOTHING_DONE;

    STORAGE_TRANSACTION l_Transaction(*m_Storage);
    if (!l_Transaction.IsOpen()) return l_Transaction.Begun();
    const int l_Created = m_Storage->CreateRow(SWITCH_PORT_FILE, mKeys(), mRow(m_Admin));
    if (l_Created != RESULT_OK) l_Stored = mStoredState();
    const int l_Result = l_Transaction.End(l_Created);
    return l_Stored ? mUseStored(*l_Stored) : l_Result;
}

int IPMI_SWITCHPORT::mUseStored(int32_t a_Admin) {
    m_Admin = a_Admin;
    if (TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "Set User's setting for Switch Port[%d] and backend Id = %d ",
               m_PortNumber, m_BackendId);
    }
    return SetUseSetting();
}

int IPMI_SWITCHPORT::QuerySwitchPort() {
    int l_Enabled = 0;
    const int l_Error = mavkAmcSwitchPortEnable(m_BackendId, DRIVER_QUERY, &l_Enabled);
    if (l_Error != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
               "Fail to Query Switch Port[%d] and backend Id = %d - firmware return error code = %d\n", m_PortNumber,
               m_BackendId, l_Error);
        return RESULT_NOTHING_DONE;
    }
    if (TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "get admin status from fw = %d, SW port %s, Backend Id = %d",
               l_Enabled, m_Name.c_str(), m_BackendId);
    }
    m_Admin = l_Enabled == 1 ? PORT_ENABLED : PORT_DISABLED;
    return RESULT_OK;
}

int IPMI_SWITCHPORT::SetUseSetting() {
    return mDrive(m_Admin);
}

int IPMI_SWITCHPORT::GetOperStatus() {
    int l_Up = 0;
    const int l_Error = mavkAmcSwitchPortCheckLink(m_BackendId, &l_Up);
    if (l_Error != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
               "Fail to Retrieve Switch Port[%d] Status and backend Id = %d - firmware return error code = %d\n",
               m_PortNumber, m_BackendId, l_Error);
        return PORT_LINK_UNKNOWN;
    }
    return l_Up == 1 ? PORT_LINK_UP : PORT_LINK_DOWN;
}

int IPMI_SWITCHPORT::SetSwitch(int a_Admin) {
    if (TracesOn()) {
        bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "set admin = %d, SW port %s, Backend Id = %d", a_Admin,
               m_Name.c_str(), m_BackendId);
    }
    const auto l_CarryOut = [&](int32_t a_State) {
        m_Admin = a_State;
        return mStore(a_State);
    };
    SWITCHPORT_ORDERS::ORDER l_Order(m_Orders);
    int l_Result = RESULT_NOTHING_DONE;
    if (mDrive(a_Admin) == RESULT_OK) {
        l_Order.Taken(a_Admin);
        l_Result = l_CarryOut(a_Admin);
    }
    while (const auto l_Latest = l_Order.Again()) {
        const int l_Repeated = mDrive(*l_Latest) == RESULT_OK ? l_CarryOut(*l_Latest) : RESULT_NOTHING_DONE;
        if (*l_Latest == a_Admin) l_Result = l_Repeated;
    }
    return l_Result;
}

int IPMI_SWITCHPORT::mDrive(int a_Admin) const {
    int l_Enabled = 0;
    const int l_Mode = a_Admin == PORT_ENABLED ? DRIVER_ENABLE : DRIVER_DISABLE;
    const int l_Error = mavkAmcSwitchPortEnable(m_BackendId, l_Mode, &l_Enabled);
    if (l_Error == 0) return RESULT_OK;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR,
           "Fail to set Switch Port[%d] and backend Id = %d - firmware return error code = %d", m_PortNumber,
           m_BackendId, l_Error);
    return RESULT_NOTHING_DONE;
}

int IPMI_SWITCHPORT::mStore(int32_t a_Admin) const {
    if (m_Storage == nullptr) return RESULT_NOTHING_DONE;
    STORAGE_TRANSACTION l_Transaction(*m_Storage);
    if (!l_Transaction.IsOpen()) return l_Transaction.Begun();
    return l_Transaction.End(m_Storage->SetRow(SWITCH_PORT_FILE, mKeys(), mRow(a_Admin)));
}

CBMIKeys IPMI_SWITCHPORT::mKeys() const {
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_SWITCHPORT_NUM, m_PortNumber);
    return l_Keys;
}

CBMIParams IPMI_SWITCHPORT::mRow(int32_t a_Admin) const {
    CBMIParams l_Row = mKeys();
    AddInt(l_Row, BMI_HW_AMC_SWITCHPORT_ADMIN, a_Admin);
    return l_Row;
}

// In the transaction of the caller.
std::optional<int32_t> IPMI_SWITCHPORT::mStoredState() const {
    CBMIParams l_Row;
    if (m_Storage->RetrieveRow(SWITCH_PORT_FILE, mKeys(), l_Row, 0) != RESULT_OK) return std::nullopt;
    return IntParam(&l_Row, BMI_HW_AMC_SWITCHPORT_ADMIN);
}

} // namespace BM_ADAPTOR
