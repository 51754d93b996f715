// The adaptor's switch operations: what each does stands in adaptor/switch/.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/switch/IPMI_Switch.h"
#include "adaptor/switch/IPMI_SwitchTeaching.h"

namespace BM_ADAPTOR {

int IPMIAdaptor::AMC_SwitchPort_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return SWITCH(m_DspMacMap, m_PCIHandle, m_SwitchPortMap).ReadRow(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_SwitchPort_ReadTable(CBMITable*& a_Table) {
    return SWITCH(m_DspMacMap, m_PCIHandle, m_SwitchPortMap).ReadTable(a_Table);
}

int IPMIAdaptor::AMC_SwitchPort_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    return SWITCH(m_DspMacMap, m_PCIHandle, m_SwitchPortMap).Write(a_Keys, a_Values);
}

int IPMIAdaptor::mInitSwitchInfo() {
    return SWITCH(m_DspMacMap, m_PCIHandle, m_SwitchPortMap).Init(this);
}

void IPMIAdaptor::mCreateSwitchPortObjects() {
    SWITCH(m_DspMacMap, m_PCIHandle, m_SwitchPortMap).CreatePorts(this);
}

int IPMIAdaptor::mFindSmallestMac(const IPMI_DSP_Info_S* a_Table, int a_Count) {
    return SWITCH_TEACHING(a_Table, a_Count).FindSmallestMac();
}

void IPMIAdaptor::CalculateCPUMacAddr(const std::string& a_SmallestMac, MAC_ADDRESS& a_CPU1, MAC_ADDRESS& a_CPU2) {
    const CPU_MACS l_CPUs = SWITCH_TEACHING::CPUMacsOf(a_SmallestMac);
    a_CPU1 = l_CPUs.m_CPU1;
    a_CPU2 = l_CPUs.m_CPU2;
}

int IPMIAdaptor::mTeachSwitch(const IPMI_DSP_Info_S* a_Table, int a_Count) {
    return SWITCH_TEACHING(a_Table, a_Count).Teach();
}

} // namespace BM_ADAPTOR
