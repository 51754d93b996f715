// The host as the receiver of events: what it is given, what it answers, and a host that is not there.
#include "adaptor/IPMI_Adaptor_Frame.h"

#include "adaptor/AdaptorTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ANSWERING_MANAGER final : public FAKE_MANAGER {
public:
    int SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) override {
        FAKE_MANAGER::SendEvent(a_Event, a_Number, a_Params);
        return m_Answer;
    }

    int m_Answer = 7;
};

class HostEvents : public testing::Test {
protected:
    HostEvents() {
        CBMIParam l_Param(BMI_PARAM_INT, BMI_HW_AMC_BAY, false);
        l_Param.SetInt(3);
        m_Params.Add(l_Param);
    }

    ANSWERING_MANAGER m_Host;
    std::atomic<IBMAdaptorMgr*> m_Manager{&m_Host};
    HOST_EVENTS m_Events{m_Manager};
    CBMIEvParams m_Params;
};

TEST_F(HostEvents, GoToTheHostAsTheyAreAndGiveItsResult) {
    EXPECT_EQ(m_Events.SendEvent(0x30200, 5, &m_Params), 7);
    const auto l_Events = m_Host.Events();
    ASSERT_THAT(l_Events, SizeIs(1));
    EXPECT_EQ(l_Events[0].m_Event, 0x30200U);
    EXPECT_EQ(l_Events[0].m_Number, 5U);
    EXPECT_THAT(TextsOf(l_Events[0].m_Params), ElementsAre(TextOf(*m_Params.Get(0))));
}

TEST_F(HostEvents, WithoutAHostGive0) {
    m_Manager = nullptr;
    EXPECT_EQ(m_Events.SendEvent(0x30200, 5, &m_Params), 0);
    EXPECT_THAT(m_Host.Events(), IsEmpty());
}

TEST_F(HostEvents, GoToTheHostThatIsThereWhenTheyCome) {
    ANSWERING_MANAGER l_Next;
    l_Next.m_Answer = 8;
    EXPECT_EQ(m_Events.SendEvent(0x30200, 5, &m_Params), 7);
    m_Manager = &l_Next;
    EXPECT_EQ(m_Events.SendEvent(0x30200, 6, &m_Params), 8);
    EXPECT_THAT(m_Host.Events(), SizeIs(1));
    EXPECT_THAT(l_Next.Events(), SizeIs(1));
}

} // namespace
