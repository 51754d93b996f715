// The adaptor's DSP operations: what each does stands in adaptor/dsp/.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/dsp/IPMI_DSPMacs.h"
#include "adaptor/dsp/IPMI_DSPStore.h"
#include "adaptor/dsp/IPMI_DSPs.h"

namespace BM_ADAPTOR {

int IPMIAdaptor::AMC_DSP_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return DSP_MAC_TABLE(mFrame()).ReadRow(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_DSP_ReadTable(CBMITable*& a_Table) {
    return DSP_MAC_TABLE(mFrame()).ReadTable(a_Table);
}

int IPMIAdaptor::AMC_DSP_ReadParamsEx(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return DSP_ADDRESSES(mFrame(), m_DspMacMap).ReadRow(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_DSP_ReadTableEx(CBMITable*& a_Table) {
    return DSP_ADDRESSES(mFrame(), m_DspMacMap).ReadTable(a_Table);
}

int IPMIAdaptor::AMC_DSP_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    return DSP_ADDRESSES(mFrame(), m_DspMacMap).Write(a_Keys, a_Values);
}

int IPMIAdaptor::GetAMCFirstMac(std::string& a_Mac) {
    return DSP_MAC_TABLE(mFrame()).HostMac(a_Mac);
}

bool IPMIAdaptor::CalculateDspMacAddr(const std::string& a_BaseMac, int a_Count, std::string* a_Macs) {
    return DSP_MAC_TABLE::Calculate(a_BaseMac, a_Count, a_Macs);
}

int IPMIAdaptor::mInitDSPInfo() {
    return DSP_ADDRESSES(mFrame(), m_DspMacMap).Init([this](int a_Count) { mSetDepop(a_Count); });
}

int IPMIAdaptor::mInitIPInfo() {
    return DSP_IP_STORE(m_Storage).Seed();
}

int IPMIAdaptor::mGetDspIpAddrDB(int a_Dsp, std::string& a_IP) {
    return DSP_IP_STORE(m_Storage).Get(a_Dsp, a_IP);
}

int IPMIAdaptor::mSetDspIpAddrDB(int a_Dsp, const std::string& a_IP, bool a_Create) {
    return DSP_IP_STORE(m_Storage).Set(a_Dsp, a_IP, a_Create);
}

int IPMIAdaptor::mFillDSPInfo(int a_Index, int a_Dsp, IPMI_DSP_Info_S* a_Table) {
    return DSP_ADDRESSES(mFrame(), m_DspMacMap).Fill(a_Index, a_Dsp, a_Table);
}

int IPMIAdaptor::mGetIPAddrByName(const std::string& a_Interface, std::string& a_IP) {
    return DSP_ADDRESSES(mFrame(), m_DspMacMap).HostIP(a_Interface, a_IP);
}

bool IPMIAdaptor::mIsOnSameSubnet(const std::string& a_First, const std::string& a_Second, const std::string& a_Mask) {
    return DSP_ADDRESSES::IsOnSameSubnet(a_First, a_Second, a_Mask);
}

} // namespace BM_ADAPTOR
