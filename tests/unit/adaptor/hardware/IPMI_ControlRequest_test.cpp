// The cold reset of an entity through its OpenIPMI control.
#include "adaptor/leds/LedTest.h"

#include "adaptor/hardware/IPMI_ControlRequest.h"
#include "ipmi/model/IPMI_Simulation.h"

#include <unistd.h>

#include <cerrno>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

namespace {

class ControlReset : public LED_TEST {
protected:
    ControlReset() : m_Baseboard(AddBoard()) { AddLight(m_Baseboard, "blue led"); }

    IPMI_ENTITY& m_Baseboard;
};

TEST_F(ControlReset, SetsTheColdResetAndWaitsForItsCompletion) {
    ipmi_control_t* const l_Reset = AddLight(m_Baseboard, "cold reset");
    EXPECT_EQ(CONTROL_REQUEST(m_Baseboard).Reset(), 0);
    EXPECT_THAT(l_Reset->m_Values, ElementsAre(1));
    EXPECT_THAT(Fake().Controls().m_Calls, ElementsAre("ipmi_control_pointer_cb", "ipmi_control_set_val"));
    EXPECT_EQ(m_Log.Lines().back(), Trace("CONTROL_REQUEST::Reset - (r0.32.160.0).cold reset returning 0"));
}

TEST_F(ControlReset, SetsEveryValueThatTheControlHas) {
    ipmi_control_t* const l_Reset = AddLight(m_Baseboard, "cold reset");
    l_Reset->m_Values = {0, 0, 0};
    EXPECT_EQ(CONTROL_REQUEST(m_Baseboard).Reset(), 0);
    EXPECT_THAT(l_Reset->m_Values, ElementsAre(1, 1, 1));
}

TEST_F(ControlReset, CompletionBeforeTheCallReturnsIsNotLost) {
    AddLight(m_Baseboard, "cold reset");
    Fake().Controls().m_bCompletesAtOnce = true;
    CONTROL_REQUEST l_Request(m_Baseboard);
    EXPECT_EQ(l_Request.Reset(), 0);
    EXPECT_EQ(l_Request.Reset(), 0) << "and can be used again";
}

TEST_F(ControlReset, TellsTheCompletionsError) {
    AddLight(m_Baseboard, "cold reset");
    Fake().Controls().m_CompletionError = 0x10000D5;
    EXPECT_EQ(CONTROL_REQUEST(m_Baseboard).Reset(), 0x10000D5);
}

TEST_F(ControlReset, ARefusedRequestComesBackAtOnce) {
    AddLight(m_Baseboard, "cold reset");
    for (const char* l_Function : {"ipmi_control_pointer_cb", "ipmi_control_set_val"}) {
        Fake().Controls().m_Results[l_Function] = {EINVAL};
        EXPECT_EQ(CONTROL_REQUEST(m_Baseboard).Reset(), EINVAL) << l_Function;
    }
}

TEST_F(ControlReset, WithoutTheControlNothingIsAsked) {
    EXPECT_EQ(CONTROL_REQUEST(m_Baseboard).Reset(), ENOENT);
    m_Baseboard.m_ControlMap["(r0.32.160.0).cold reset"] = nullptr;
    EXPECT_EQ(CONTROL_REQUEST(m_Baseboard).Reset(), ENOENT);
    EXPECT_THAT(Fake().Controls().m_Calls, IsEmpty());
}

TEST_F(ControlReset, FindsTheControlsOfTheSimulatedInventory) {
    BuildSimulatedData();
    for (const int l_EntityID : {ENTITY_ID_AMC, ENTITY_ID_RTM}) {
        Fake().Controls() = {};
        EXPECT_EQ(CONTROL_REQUEST(*m_Adaptor.FindEntitybyEntityID(l_EntityID)).Reset(), EINVAL)
            << "it has no OpenIPMI control behind it";
        EXPECT_THAT(Fake().Controls().m_Calls, ElementsAre("ipmi_control_pointer_cb"));
    }
}

TEST_F(ControlReset, TrampolinesWithoutARequestEndTheProcess) {
    const auto l_ToStderr = [] {
        fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);
    };
    EXPECT_EXIT((l_ToStderr(), CONTROL_REQUEST::s_ID2Pointer_Handler(nullptr, nullptr)), ExitedWithCode(1),
                "ERROR SELF==NULL");
    EXPECT_EXIT((l_ToStderr(), CONTROL_REQUEST::s_SetValComplete(nullptr, 0, nullptr)), ExitedWithCode(1),
                "ERROR SELF==NULL");
}

} // namespace
