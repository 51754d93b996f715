// What is asked again, what is kept, and when the controller counts as lost.
#include "sim/capture/Conversation.h"

#include "SimulatedController.h"
#include "sim/base/Error.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

const Bytes Properties = {0x2C, 0x00, 0x00};
const Bytes DeviceId = {0x06, 0x01};

class ConversationTest : public testing::Test {
protected:
    SimulatedController m_controller;
    Conversation m_conversation = m_controller.Talk();
};

} // namespace

TEST_F(ConversationTest, KeepsARefusalAsItCame) {
    m_controller.m_answers[Properties] = {{0xC1}};
    EXPECT_THAT(m_conversation.AskAndKeep(Properties), ElementsAre(0xC1));
    EXPECT_THAT(m_conversation.Replies(), ElementsAre(Pair(Properties, ElementsAre(0xC1))));
    EXPECT_THAT(m_conversation.Faults(), IsEmpty());
    EXPECT_THAT(m_controller.m_asked, SizeIs(1));
}

TEST_F(ConversationTest, KeepsNothingOfWhatIsOnlyAsked) {
    EXPECT_EQ(m_conversation.Ask(Properties)[0], 0);
    EXPECT_THAT(m_conversation.Replies(), IsEmpty());
}

TEST_F(ConversationTest, AsksAgainAfterATimeOutAndKeepsTheFault) {
    m_controller.m_answers[Properties] = {{}, {0xC3}, {0, 0, 0x22, 7, 0}};
    EXPECT_THAT(m_conversation.AskAndKeep(Properties), ElementsAre(0, 0, 0x22, 7, 0));
    ASSERT_THAT(m_conversation.Faults(), SizeIs(2));
    for (unsigned index = 0; index < 2; ++index) {
        const Fault& fault = m_conversation.Faults()[index];
        EXPECT_EQ(fault.m_kind, FaultKind::Lost);
        EXPECT_EQ(fault.m_first, index + 1);
        EXPECT_EQ(fault.m_count, 1U);
        EXPECT_THAT(fault.m_request, ElementsAre(0x2C, 0, 0));
    }
    EXPECT_THAT(m_controller.m_told, SizeIs(2));
}

TEST_F(ConversationTest, KeepsABusyControllersCodeAsAFault) {
    m_controller.m_answers[Properties] = {{0xC0}, {0, 0, 0x22, 7, 0}};
    m_conversation.AskAndKeep(Properties);
    ASSERT_THAT(m_conversation.Faults(), SizeIs(1));
    EXPECT_EQ(m_conversation.Faults()[0].m_kind, FaultKind::CompletionCode);
    EXPECT_EQ(m_conversation.Faults()[0].m_argument, 0xC0U);
}

TEST_F(ConversationTest, KeepsARequestThatIsNeverAnsweredWhileOthersAre) {
    m_controller.m_answers[Properties] = {{}};
    EXPECT_THAT(m_conversation.AskAndKeep(Properties), ElementsAre(0xC3));
    ASSERT_THAT(m_conversation.Faults(), SizeIs(1));
    EXPECT_EQ(m_conversation.Faults()[0].m_count, 0U);
    EXPECT_THAT(m_controller.m_asked, ElementsAre(Properties, Properties, Properties, DeviceId));
    EXPECT_THAT(m_controller.m_told.back(), HasSubstr("every time; kept so"));
}

TEST_F(ConversationTest, EndsWhenTheControllerDoesNotTellItsDeviceIdEither) {
    m_controller.m_answers[Properties] = {{}};
    m_controller.m_answers[DeviceId] = {{0xD2}};
    try {
        m_conversation.AskAndKeep(Properties);
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_STREQ(
            error.what(),
            "the controller at /dev/ipmi0 does not answer: Get PICMG Properties (2c 00 00): completion code 0xc3, "
            "the driver's time-out; and then Get Device ID (06 01): completion code 0xd2");
    }
}
