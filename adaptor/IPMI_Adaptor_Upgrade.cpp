// Firmware upgrades: what the host calls is UPGRADES' to do.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/upgrade/IPMI_Upgrades.h"

namespace BM_ADAPTOR {

std::shared_ptr<UPGRADE_STATUS> IPMIAdaptor::ShareUpgrade() {
    return UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).Share();
}

int IPMIAdaptor::Firmware_Update_ReadParams(const CBMIKeys*, CBMIParams* a_Row) {
    return UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).Read(a_Row);
}

int IPMIAdaptor::Firmware_Update_ReadTable(CBMITable*& a_Table) {
    return UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).ReadTable(a_Table);
}

int IPMIAdaptor::Firmware_Update_WriteParams(CBMIKeys*, CBMIParams* a_Values) {
    return UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).Write(a_Values, this);
}

} // namespace BM_ADAPTOR
