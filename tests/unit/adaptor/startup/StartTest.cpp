// What the tests of Start and Stop need; see the header.
#include "adaptor/startup/StartTest.h"

#include "common/veldo_common_rows.h"

namespace BM_ADAPTOR::TEST {

START_TEST::START_TEST() {
    g_bCompleteIPMISimulation = true;
    Access::InstallDir(m_Adaptor) = "/k";
    GiveEth6({0x02, 0, 0, 0, 0, 0x10});
    AddAMC(3, 2);
    KnowDSPs({"02:00:00:00:00:12", "02:00:00:00:00:13"});
    StoreIP(1, "192.168.0.23");
    StoreIP(2, "192.168.0.22");
}

void START_TEST::BeWithRTM(int a_Framers, int a_TrunksPerFramer) {
    RTM_VALUES& l_RTM = Access::RTM(m_Adaptor);
    l_RTM.m_Present = 1;
    l_RTM.m_NumFramers = a_Framers;
    l_RTM.m_TrunksPerFramer = a_TrunksPerFramer;
    l_RTM.m_TrunkTotal = a_Framers * a_TrunksPerFramer;
}

std::vector<int> START_TEST::Statuses() const {
    std::vector<int> l_Statuses;
    for (const auto& l_Event : m_Manager.Events())
        l_Statuses.push_back(IntParam(&l_Event.m_Params, BMI_HW_AMC_RUN_STATUS).value_or(-1));
    return l_Statuses;
}

std::string START_TEST::Boot(const std::string& a_Words) {
    return "/k/bin/mavk_boot -v -p -f /k/data/mavk.axf -i eth6" + a_Words;
}

std::string START_TEST::Diag(const std::string& a_Words) {
    return "/k/bin/mavk_diag -v -a 30 -p -b amc" + a_Words;
}

} // namespace BM_ADAPTOR::TEST
