// A callback of OpenIPMI without its object ends the process, and says so.
#include "ThreadTest.h"

using namespace BM_ADAPTOR;
using ::testing::ExitedWithCode;

namespace {

constexpr const char* g_LastWords = "^ERROR SELF==NULL\n?$";

class NullDatum : public THREAD_TEST {
protected:
    ipmi_entity_t* m_Entity = Fake().AddEntity(0, 32, 161, 2, "AMC 2");
};

TEST_F(NullDatum, OfAConnectionReportEndsTheProcess) {
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_DomainOpen(Fake().Domain(), 0, 0, 0, 1, nullptr)), ExitedWithCode(1),
                g_LastWords);
}

TEST_F(NullDatum, OfAFullyUpReportEndsTheProcess) {
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_DomainFullyUp(Fake().Domain(), nullptr)), ExitedWithCode(1),
                g_LastWords);
}

TEST_F(NullDatum, OfAnEntityReportEndsTheProcess) {
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_EntityAdded(IPMI_ADDED, Fake().Domain(), m_Entity, nullptr)),
                ExitedWithCode(1), g_LastWords);
}

TEST_F(NullDatum, OfAControllerReportEndsTheProcess) {
    auto* const l_MC = Fake().AddMC(0, 32, "mc");
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_MCAdded(IPMI_ADDED, Fake().Domain(), l_MC, nullptr)), ExitedWithCode(1),
                g_LastWords);
}

TEST_F(NullDatum, OfAControlReportEndsTheProcess) {
    auto* const l_Control = Fake().AddControl(m_Entity, "led", 1);
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_ControlAdded(IPMI_ADDED, m_Entity, l_Control, nullptr)),
                ExitedWithCode(1), g_LastWords);
}

TEST_F(NullDatum, OfAFruReportEndsTheProcess) {
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_FruAdded(IPMI_ADDED, m_Entity, nullptr)), ExitedWithCode(1),
                g_LastWords);
}

TEST_F(NullDatum, OfAHotSwapReportEndsTheProcess) {
    EXPECT_EXIT((PrintToStderr(), IPMITHREAD::s_IPMIEntityHotSwapHandler(m_Entity, IPMI_HOT_SWAP_ACTIVE,
                                                                         IPMI_HOT_SWAP_INACTIVE, nullptr, nullptr)),
                ExitedWithCode(1), g_LastWords);
}

} // namespace
