// What each kind of fault does to a request and to its reply.
#include "sim/driver/FaultyWire.h"

#include <gmock/gmock.h>

#include <vector>

using namespace BLADESIM;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using BYTES = std::vector<uint8_t>;

const FAULTY_WIRE::CLOCK::time_point g_Now{};
const VM_MESSAGE g_ReadFru2Message = {7, 0x0A, 0, 0x11, {0x02, 0x00, 0x00, 0x10}};
const VM_MESSAGE g_Reply = {7, 0x0B, 0, 0x11, {0x00, 0x02, 0xAB, 0xCD}};

/// A wire with one fault, which hits the first request of g_ReadFru2Message.
class FaultyWire : public testing::Test {
protected:
    void Order(FAULT_KIND a_Kind, unsigned a_Argument = 0, BYTES a_Reply = {}) {
        m_Faults.Add({{0x0A, 0x11, 0x02}, 1, 1, a_Kind, a_Argument, std::move(a_Reply)});
    }

    std::vector<VM_MESSAGE> Receive(const VM_MESSAGE& a_Reply = g_Reply) {
        return Messages(m_Wire.Receive(a_Reply, g_Now));
    }

    static std::vector<VM_MESSAGE> Messages(const std::vector<WIRE_REPLY>& a_Replies) {
        std::vector<VM_MESSAGE> l_Messages;
        for (const WIRE_REPLY& l_Reply : a_Replies)
            l_Messages.push_back(l_Reply.m_Message);
        return l_Messages;
    }

    FAULT_TABLE m_Faults;
    FAULTY_WIRE m_Wire{m_Faults};
};

} // namespace

TEST_F(FaultyWire, CarriesRequestAndReplyUnharmedWithoutAFault) {
    const WIRE_REQUEST l_Sent = m_Wire.Send(g_ReadFru2Message);
    EXPECT_EQ(l_Sent.m_ForController, g_ReadFru2Message);
    EXPECT_FALSE(l_Sent.m_Fault);
    EXPECT_THAT(Receive(), ElementsAre(g_Reply));
}

TEST_F(FaultyWire, AnswersWithACompletionCodeInsteadOfTheController) {
    Order(FAULT_KIND::COMPLETION_CODE, 0xC1);
    const WIRE_REQUEST l_Sent = m_Wire.Send(g_ReadFru2Message);
    EXPECT_FALSE(l_Sent.m_ForController);
    EXPECT_EQ(l_Sent.m_Reply, (VM_MESSAGE{7, 0x0B, 0, 0x11, {0xC1}}));
    EXPECT_EQ(l_Sent.m_Fault, FAULT_KIND::COMPLETION_CODE);
    EXPECT_EQ(m_Wire.Send(g_ReadFru2Message).m_ForController, g_ReadFru2Message);
}

TEST_F(FaultyWire, AnswersWithTheBytesOfAReply) {
    Order(FAULT_KIND::REPLY, 0, {0x00, 0x01});
    EXPECT_EQ(m_Wire.Send(g_ReadFru2Message).m_Reply, (VM_MESSAGE{7, 0x0B, 0, 0x11, {0x00, 0x01}}));
}

TEST_F(FaultyWire, KeepsALostReplyUntilItIsReleased) {
    Order(FAULT_KIND::LOST);
    EXPECT_EQ(m_Wire.Send(g_ReadFru2Message).m_ForController, g_ReadFru2Message);
    EXPECT_THAT(Receive(), IsEmpty());
    EXPECT_FALSE(m_Wire.Deadline());
    EXPECT_THAT(m_Wire.Due(g_Now + 24h), IsEmpty());
    EXPECT_THAT(Messages(m_Wire.Release()), ElementsAre(g_Reply));
    EXPECT_THAT(m_Wire.Release(), IsEmpty());
}

TEST_F(FaultyWire, LetsAReplyThroughThatComesAfterItsRelease) {
    Order(FAULT_KIND::LOST);
    m_Wire.Send(g_ReadFru2Message);
    EXPECT_THAT(m_Wire.Release(), IsEmpty());
    EXPECT_THAT(Receive(), ElementsAre(g_Reply));
}

TEST_F(FaultyWire, DelaysALateReply) {
    Order(FAULT_KIND::LATE, 200);
    m_Wire.Send(g_ReadFru2Message);
    EXPECT_THAT(Receive(), IsEmpty());
    EXPECT_EQ(m_Wire.Deadline(), g_Now + 200ms);
    EXPECT_THAT(m_Wire.Due(g_Now + 199ms), IsEmpty());
    EXPECT_THAT(m_Wire.Release(), IsEmpty());
    EXPECT_THAT(Messages(m_Wire.Due(g_Now + 200ms)), ElementsAre(g_Reply));
    EXPECT_FALSE(m_Wire.Deadline());
}

TEST_F(FaultyWire, CutsAShortReply) {
    Order(FAULT_KIND::SHORT, 2);
    m_Wire.Send(g_ReadFru2Message);
    EXPECT_THAT(Receive(), ElementsAre(VM_MESSAGE{7, 0x0B, 0, 0x11, {0x00, 0x02}}));
}

TEST_F(FaultyWire, LeavesAReplyThatIsShorterThanItsCut) {
    Order(FAULT_KIND::SHORT, 200);
    m_Wire.Send(g_ReadFru2Message);
    EXPECT_THAT(Receive(), ElementsAre(g_Reply));
}

TEST_F(FaultyWire, DoublesAReply) {
    Order(FAULT_KIND::DOUBLED);
    m_Wire.Send(g_ReadFru2Message);
    EXPECT_THAT(Receive(), ElementsAre(g_Reply, g_Reply));
}

TEST_F(FaultyWire, AsksForAnAnswerToBeHandedOutTwice) {
    Order(FAULT_KIND::ANSWERED_TWICE);
    m_Wire.Send(g_ReadFru2Message);
    const auto l_Replies = m_Wire.Receive(g_Reply, g_Now);
    ASSERT_EQ(l_Replies.size(), 1U);
    EXPECT_TRUE(l_Replies[0].m_Twice);
}

TEST_F(FaultyWire, AsksForAnotherFruWhereFruCommandsNameIt) {
    Order(FAULT_KIND::OTHER_FRU, 9);
    EXPECT_THAT(m_Wire.Send(g_ReadFru2Message).m_ForController->m_Data, ElementsAre(0x09, 0x00, 0x00, 0x10));
    m_Faults.Add({{0x2C, 0x08}, 1, 0, FAULT_KIND::OTHER_FRU, 9, {}});
    EXPECT_THAT(m_Wire.Send({8, 0x2C, 0, 0x08, {0x00, 0x02, 0x01}}).m_ForController->m_Data,
                ElementsAre(0x00, 0x09, 0x01));
    EXPECT_THAT(m_Wire.Send({9, 0x2C, 0, 0x08, {0x00}}).m_ForController->m_Data, ElementsAre(0x00));
    m_Faults.Add({{0x06, 0x01}, 1, 0, FAULT_KIND::OTHER_FRU, 9, {}});
    EXPECT_THAT(m_Wire.Send({10, 0x06, 0, 0x01, {0x00, 0x02}}).m_ForController->m_Data, ElementsAre(0x00, 0x02));
}

TEST_F(FaultyWire, SendsNothingToAControllerThatGoesAway) {
    Order(FAULT_KIND::GONE, 300);
    const WIRE_REQUEST l_Sent = m_Wire.Send(g_ReadFru2Message);
    EXPECT_FALSE(l_Sent.m_ForController);
    EXPECT_FALSE(l_Sent.m_Reply);
    EXPECT_EQ(l_Sent.m_Gone, 300ms);
}

TEST_F(FaultyWire, ForgetsWhatAnOlderRequestOfTheSameNumberLeft) {
    Order(FAULT_KIND::LOST);
    m_Wire.Send(g_ReadFru2Message);
    Receive();
    m_Wire.Send({7, 0x06, 0, 0x01, {}});
    EXPECT_THAT(m_Wire.Release(), IsEmpty());
}

TEST_F(FaultyWire, ExpectsNothingOfAControllerThatHasGone) {
    Order(FAULT_KIND::LOST);
    m_Wire.Send(g_ReadFru2Message);
    m_Wire.ForgetController();
    EXPECT_THAT(Receive(), ElementsAre(g_Reply));
}
