// FRU Control: sent without waiting, and a reply that is taken in another request code than the one it sets.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

class ProbeFRUControl : public PROBE_TEST {};

TEST_F(ProbeFRUControl, SetsItsCodeSendsAndReturns) {
    EXPECT_EQ(m_Probe->SendFRUControl(4, 1), 0);
    EXPECT_THAT(Requests(), ElementsAre("2C 04 00 04 01"));
    EXPECT_EQ(State(), 14);
    EXPECT_EQ(m_Log.Lines().at(0), Trace("ENTITYCAPTURE :: SendFRUControl"));
}

TEST_F(ProbeFRUControl, PassesEveryOptionThroughAsGiven) {
    for (const int l_Option : {0, 1, 2, 3, 0x80, 0xFF}) {
        Fake().Reset();
        m_Probe->SendFRUControl(255, l_Option);
        EXPECT_EQ(ToHex(Fake().SentBytes().at(0)), "2C 04 00 FF " + ToHex({static_cast<uint8_t>(l_Option)}));
    }
}

TEST_F(ProbeFRUControl, ReplyInTheCodeThatItSetIsIgnored) {
    m_Probe->SendFRUControl(4, 0);
    m_Log.Clear();
    Fake().DeliverReply({0, 0});
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ENTITYCAPTURE :: s_ReceivedFRUControl"),
                                           Trace("ENTITYCAPTURE :: ReceivedFRUControl -- incorrect State\n")));
    EXPECT_EQ(State(), 14);
}

TEST_F(ProbeFRUControl, ReplyInTheCodeOfSetLEDStateIsTakenAndLeavesTheCode) {
    for (const BYTES& l_Reply : {BYTES{0, 0}, BYTES{0xD5}, BYTES{}}) {
        SetState(13);
        m_Log.Clear();
        m_Probe->SendFRUControl(4, 0);
        Fake().DeliverReply(l_Reply);
        EXPECT_EQ(m_Log.Lines().back(),
                  Trace("ENTITYCAPTURE :: ReceivedFRUControl CC=0x%x", l_Reply.empty() ? 0xFFU : l_Reply[0]));
        EXPECT_EQ(State(), 13) << "whoever waits for the LED reply goes on waiting";
    }
}

TEST_F(ProbeFRUControl, LeavesTheCodeOfAnOutstandingRequestAlone) {
    for (int l_State = 1; l_State <= 13; ++l_State) {
        SetState(l_State);
        Fake().Reset();
        EXPECT_EQ(m_Probe->SendFRUControl(4, 0), 0);
        EXPECT_EQ(State(), l_State);
        EXPECT_THAT(Requests(), ElementsAre("2C 04 00 04 00")) << "it is sent all the same";
    }
}

TEST_F(ProbeFRUControl, CanBeSentAgainThoughTheLastReplyWasIgnored) {
    m_Probe->SendFRUControl(1, 0);
    Fake().Run();
    m_Probe->SendFRUControl(2, 0);
    Fake().Run();
    EXPECT_THAT(Requests(), ElementsAre("2C 04 00 01 00", "2C 04 00 02 00"));
    EXPECT_EQ(State(), 14);
}

TEST_F(ProbeFRUControl, AtAnyStepOfTheInventoryDoesNotDisturbIt) {
    const std::vector<std::string> l_Steps = {"2C 00 00", "2C 01 00 00",      "06 01", "2C 05 00 00", "2C 06 00 00 00",
                                              "0A 10 00", "0A 11 00 00 00 10"};
    for (std::size_t l_Step = 0; l_Step < l_Steps.size(); ++l_Step) {
        SetUpAgain();
        ScriptController({{0, 0, 1, {2}, AreaOf16()}});
        m_Probe->StartCapture();
        ASSERT_EQ(Fake().Run(l_Step), l_Step);
        m_Probe->SendFRUControl(0, 0);
        Fake().Run();
        EXPECT_TRUE(IsOver()) << l_Steps[l_Step];
        std::vector<std::string> l_Expected = l_Steps;
        l_Expected.insert(l_Expected.begin() + static_cast<long>(l_Step) + 1, "2C 04 00 00 00");
        EXPECT_EQ(Requests(), l_Expected);
        EXPECT_EQ(State(), 0) << "idle, as after an undisturbed inventory";
    }
}

} // namespace
