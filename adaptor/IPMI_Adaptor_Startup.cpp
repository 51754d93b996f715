// Start-up: how the rooms that it works on are put together.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/startup/IPMI_MediaServer.h"
#include "adaptor/startup/IPMI_RTMInfo.h"
#include "adaptor/startup/IPMI_RunStatus.h"
#include "adaptor/startup/IPMI_Startup.h"
#include "common/veldo_common_rows.h"

namespace BM_ADAPTOR {

namespace {

// A run status goes through the handlers of its tables.
class STATUS_TABLES final : public RUN_STATUS_TABLES {
public:
    explicit STATUS_TABLES(IPMIAdaptor& a_Adaptor) : m_Adaptor(a_Adaptor) {}
    int ReadModules(CBMITable*& a_Table) override { return m_Adaptor.AMC_HW_ReadTable(a_Table); }
    int WriteModule(CBMIKeys& a_Keys, CBMIParams& a_Values) override {
        return m_Adaptor.AMC_HW_WriteParams(&a_Keys, &a_Values);
    }
    int WriteLED(CBMIKeys& a_Keys, CBMIParams& a_Values) override {
        return m_Adaptor.AMC_LED_WriteParams(&a_Keys, &a_Values);
    }

private:
    IPMIAdaptor& m_Adaptor;
};

} // namespace

int IPMIAdaptor::mStartAMC(DSP_TABLE& a_DSPs) {
    STATUS_TABLES l_Tables(*this);
    RUN_STATUS l_Status(l_Tables);
    const DSP_ADDRESSES l_Addresses(mFrame(), m_DspMacMap);
    return STARTUP(m_Board, m_InstallDir, m_RTM, l_Status, l_Addresses, m_DspInfo)
        .Start(m_DspMacMap.Get()->size(), a_DSPs);
}

int IPMIAdaptor::mSetVXP(bool a_Start) const {
    const MEDIA_SERVER l_Server(m_Board, m_InstallDir);
    return a_Start ? l_Server.Start() : l_Server.Stop();
}

int IPMIAdaptor::mSetAmcRTMStatus(int a_Status) {
    STATUS_TABLES l_Tables(*this);
    return RUN_STATUS(l_Tables).SetAll(a_Status);
}

int IPMIAdaptor::mInitRTMInfo() {
    CBMITable* l_Made = nullptr;
    const int l_Result = RTM_FRU_ReadTable(l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    return RTM_INFO(m_RTM).Take(l_Result, RowsOf(*l_Table));
}

int IPMIAdaptor::mSetDepop(int a_Count) {
    return STARTUP::SetDepop(m_Board, a_Count);
}

} // namespace BM_ADAPTOR
