// One external port of the blade's Ethernet switch, with the state that the host's storage keeps for it.
#pragma once

#include "adaptor/switch/IPMI_SwitchPort_Orders.h"
#include "common/veldo_common_protocol.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace QUB_STORAGE {
class CDataStorage;
}

namespace BM_ADAPTOR {

class CBMIKeys;
class CBMIParams;
class IPMIAdaptor;

/// One external port. Any thread may call the operations; each waits for the board driver, and Init and SetSwitch for
/// the storage. No lock is held while driver, storage or logger are called, and the driver is never called in a storage
/// transaction.
class IPMI_SWITCHPORT {
public:
    /// @param a_PortNumber  1 to 4, the port's key in table and storage
    /// @param a_BackendId   the switch's own index of the port
    /// @param a_Adaptor     whose storage, as it is now, keeps the state, and outlives the port; null for none
    IPMI_SWITCHPORT(int a_PortNumber, int a_BackendId, TELQ_Ext_If_Types_e a_Type, std::string a_Name,
                    IPMIAdaptor* a_Adaptor);
    IPMI_SWITCHPORT(const IPMI_SWITCHPORT&) = delete;
    IPMI_SWITCHPORT& operator=(const IPMI_SWITCHPORT&) = delete;
    virtual ~IPMI_SWITCHPORT() = default;

    /// Brings the port into its stored state; when there is none, stores the state that the switch has. Called before
    /// any other use of the port.
    /// @return the result of the last step: 1, 0 after an error of the driver, or the storage's
    int Init();
    /// Takes the state from the switch. 1; 0, logged, when the driver failed.
    int QuerySwitchPort();
    /// Drives the switch to the state. 1; 0, logged, when the driver failed.
    int SetUseSetting();
    /// Asks for the link. A PORT_OPER_e, unknown when the driver failed, which is logged.
    int GetOperStatus();
    /// Drives the port, then stores the state as it comes: 1 enables, any other value disables. When several threads
    /// set it at once, the last state that the driver took is driven, shown and stored in the end.
    /// @return 0 when the driver refused, and nothing has changed; else the storage's result, and the port is driven
    int SetSwitch(int a_Admin);

    int GetPortNumber() const { return m_PortNumber; }
    TELQ_Ext_If_Types_e GetType() const { return m_Type; }
    const std::string& GetName() const { return m_Name; }
    int GetAdminStatus() const { return m_Admin; }

private:
    int mDrive(int a_Admin) const;
    int mUseStored(int32_t a_Admin);
    int mStore(int32_t a_Admin) const;
    CBMIKeys mKeys() const;
    CBMIParams mRow(int32_t a_Admin) const;
    std::optional<int32_t> mStoredState() const;

    IPMIAdaptor* m_Adaptor;
    QUB_STORAGE::CDataStorage* m_Storage; ///< the adaptor's, may be null
    int m_PortNumber;
    int m_BackendId;
    TELQ_Ext_If_Types_e m_Type;
    std::string m_Name;
    std::atomic<int32_t> m_Admin = PORT_DISABLED;
    SWITCHPORT_ORDERS m_Orders; ///< of SetSwitch
};

} // namespace BM_ADAPTOR
