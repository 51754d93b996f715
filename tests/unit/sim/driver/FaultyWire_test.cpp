// What each kind of fault does to a request and to its reply.
#include "sim/driver/FaultyWire.h"

#include "sim/base/Bytes.h"

#include <gmock/gmock.h>

#include <vector>

using namespace bladesim;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const FaultyWire::Clock::time_point Now{};
const VmMessage ReadFru2Message = {7, 0x0A, 0, 0x11, {0x02, 0x00, 0x00, 0x10}};
const VmMessage SampleReply = {7, 0x0B, 0, 0x11, {0x00, 0x02, 0xAB, 0xCD}};

/// A wire with one fault, which hits the first request of ReadFru2Message.
class FaultyWireTest : public testing::Test {
protected:
    void Order(FaultKind kind, unsigned argument = 0, Bytes reply = {}) {
        m_faults.Add({{0x0A, 0x11, 0x02}, 1, 1, kind, argument, std::move(reply)});
    }

    std::vector<VmMessage> Receive(const VmMessage& reply = SampleReply) {
        return Messages(m_wire.Receive(reply, Now));
    }

    static std::vector<VmMessage> Messages(const std::vector<WireReply>& replies) {
        std::vector<VmMessage> messages;
        for (const WireReply& reply : replies)
            messages.push_back(reply.m_message);
        return messages;
    }

    FaultTable m_faults;
    FaultyWire m_wire{m_faults};
};

} // namespace

TEST_F(FaultyWireTest, CarriesRequestAndReplyUnharmedWithoutAFault) {
    const WireRequest sent = m_wire.Send(ReadFru2Message);
    EXPECT_EQ(sent.m_forController, ReadFru2Message);
    EXPECT_FALSE(sent.m_fault);
    EXPECT_THAT(Receive(), ElementsAre(SampleReply));
}

TEST_F(FaultyWireTest, AnswersWithACompletionCodeInsteadOfTheController) {
    Order(FaultKind::CompletionCode, 0xC1);
    const WireRequest sent = m_wire.Send(ReadFru2Message);
    EXPECT_FALSE(sent.m_forController);
    EXPECT_EQ(sent.m_reply, (VmMessage{7, 0x0B, 0, 0x11, {0xC1}}));
    EXPECT_EQ(sent.m_fault, FaultKind::CompletionCode);
    EXPECT_EQ(m_wire.Send(ReadFru2Message).m_forController, ReadFru2Message);
}

TEST_F(FaultyWireTest, AnswersWithTheBytesOfAReply) {
    Order(FaultKind::Reply, 0, {0x00, 0x01});
    EXPECT_EQ(m_wire.Send(ReadFru2Message).m_reply, (VmMessage{7, 0x0B, 0, 0x11, {0x00, 0x01}}));
}

TEST_F(FaultyWireTest, KeepsALostReplyUntilItIsReleased) {
    Order(FaultKind::Lost);
    EXPECT_EQ(m_wire.Send(ReadFru2Message).m_forController, ReadFru2Message);
    EXPECT_THAT(Receive(), IsEmpty());
    EXPECT_FALSE(m_wire.Deadline());
    EXPECT_THAT(m_wire.Due(Now + 24h), IsEmpty());
    EXPECT_THAT(Messages(m_wire.Release()), ElementsAre(SampleReply));
    EXPECT_THAT(m_wire.Release(), IsEmpty());
}

TEST_F(FaultyWireTest, LetsAReplyThroughThatComesAfterItsRelease) {
    Order(FaultKind::Lost);
    m_wire.Send(ReadFru2Message);
    EXPECT_THAT(m_wire.Release(), IsEmpty());
    EXPECT_THAT(Receive(), ElementsAre(SampleReply));
}

TEST_F(FaultyWireTest, DelaysALateReply) {
    Order(FaultKind::Late, 200);
    m_wire.Send(ReadFru2Message);
    EXPECT_THAT(Receive(), IsEmpty());
    EXPECT_EQ(m_wire.Deadline(), Now + 200ms);
    EXPECT_THAT(m_wire.Due(Now + 199ms), IsEmpty());
    EXPECT_THAT(m_wire.Release(), IsEmpty());
    EXPECT_THAT(Messages(m_wire.Due(Now + 200ms)), ElementsAre(SampleReply));
    EXPECT_FALSE(m_wire.Deadline());
}

TEST_F(FaultyWireTest, CutsAShortReply) {
    Order(FaultKind::Short, 2);
    m_wire.Send(ReadFru2Message);
    EXPECT_THAT(Receive(), ElementsAre(VmMessage{7, 0x0B, 0, 0x11, {0x00, 0x02}}));
}

TEST_F(FaultyWireTest, LeavesAReplyThatIsShorterThanItsCut) {
    Order(FaultKind::Short, 200);
    m_wire.Send(ReadFru2Message);
    EXPECT_THAT(Receive(), ElementsAre(SampleReply));
}

TEST_F(FaultyWireTest, DoublesAReply) {
    Order(FaultKind::Doubled);
    m_wire.Send(ReadFru2Message);
    EXPECT_THAT(Receive(), ElementsAre(SampleReply, SampleReply));
}

TEST_F(FaultyWireTest, AsksForAnAnswerToBeHandedOutTwice) {
    Order(FaultKind::AnsweredTwice);
    m_wire.Send(ReadFru2Message);
    const auto replies = m_wire.Receive(SampleReply, Now);
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_TRUE(replies[0].m_twice);
}

TEST_F(FaultyWireTest, AsksForAnotherFruWhereFruCommandsNameIt) {
    Order(FaultKind::OtherFru, 9);
    EXPECT_THAT(m_wire.Send(ReadFru2Message).m_forController->m_data, ElementsAre(0x09, 0x00, 0x00, 0x10));
    m_faults.Add({{0x2C, 0x08}, 1, 0, FaultKind::OtherFru, 9, {}});
    EXPECT_THAT(m_wire.Send({8, 0x2C, 0, 0x08, {0x00, 0x02, 0x01}}).m_forController->m_data,
                ElementsAre(0x00, 0x09, 0x01));
    EXPECT_THAT(m_wire.Send({9, 0x2C, 0, 0x08, {0x00}}).m_forController->m_data, ElementsAre(0x00));
    m_faults.Add({{0x06, 0x01}, 1, 0, FaultKind::OtherFru, 9, {}});
    EXPECT_THAT(m_wire.Send({10, 0x06, 0, 0x01, {0x00, 0x02}}).m_forController->m_data, ElementsAre(0x00, 0x02));
}

TEST_F(FaultyWireTest, SendsNothingToAControllerThatGoesAway) {
    Order(FaultKind::Gone, 300);
    const WireRequest sent = m_wire.Send(ReadFru2Message);
    EXPECT_FALSE(sent.m_forController);
    EXPECT_FALSE(sent.m_reply);
    EXPECT_EQ(sent.m_gone, 300ms);
}

TEST_F(FaultyWireTest, SendsNothingToAControllerThatIsRestarted) {
    Order(FaultKind::Restarted);
    const WireRequest sent = m_wire.Send(ReadFru2Message);
    EXPECT_FALSE(sent.m_forController);
    EXPECT_FALSE(sent.m_reply);
    EXPECT_FALSE(sent.m_gone);
    EXPECT_TRUE(sent.m_restarted);
    EXPECT_FALSE(m_wire.Send(ReadFru2Message).m_restarted);
}

TEST_F(FaultyWireTest, KeepsAReplyThatIsLostUntilItsReleaseAndOneThatIsLateUntilItIsDue) {
    Order(FaultKind::Lost);
    Order(FaultKind::Late, 50);
    m_wire.Send(ReadFru2Message);
    EXPECT_FALSE(m_wire.Keeps(7));
    Receive();
    EXPECT_TRUE(m_wire.Keeps(7));
    EXPECT_FALSE(m_wire.Keeps(8));
    m_wire.Release();
    EXPECT_FALSE(m_wire.Keeps(7));
    m_wire.Send(ReadFru2Message);
    Receive();
    EXPECT_TRUE(m_wire.Keeps(7));
    m_wire.Due(Now + 50ms);
    EXPECT_FALSE(m_wire.Keeps(7));
}

TEST_F(FaultyWireTest, ForgetsWhatAnOlderRequestOfTheSameNumberLeft) {
    Order(FaultKind::Lost);
    m_wire.Send(ReadFru2Message);
    Receive();
    m_wire.Send({7, 0x06, 0, 0x01, {}});
    EXPECT_THAT(m_wire.Release(), IsEmpty());
}

TEST_F(FaultyWireTest, ExpectsNothingOfAControllerThatHasGone) {
    Order(FaultKind::Lost);
    m_wire.Send(ReadFru2Message);
    m_wire.ForgetController();
    EXPECT_THAT(Receive(), ElementsAre(SampleReply));
}
