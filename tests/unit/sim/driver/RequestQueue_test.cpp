// The driver's queue: one request at a time, replies to their openers, time-outs.
#include "sim/driver/RequestQueue.h"

#include <gmock/gmock.h>
#include <linux/ipmi.h>

#include <cstring>
#include <vector>

using namespace BLADESIM;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

using BYTES = std::vector<uint8_t>;

constexpr int g_Opener = 5;
constexpr int g_Other = 6;
const REQUEST_QUEUE::CLOCK::time_point g_QueueNow{};

BRIDGE_PACKET Request(int64_t a_Id, uint8_t a_NetFn = 0x06, uint8_t a_Command = 0x01, const BYTES& a_Data = {},
                      uint8_t a_Lun = 0) {
    BRIDGE_PACKET l_Packet{};
    const ipmi_system_interface_addr l_Address{IPMI_SYSTEM_INTERFACE_ADDR_TYPE, IPMI_BMC_CHANNEL, a_Lun};
    l_Packet.m_AddressLength = sizeof(l_Address);
    std::memcpy(l_Packet.m_Address, &l_Address, sizeof(l_Address));
    l_Packet.m_MessageId = a_Id;
    l_Packet.m_NetFn = a_NetFn;
    l_Packet.m_Command = a_Command;
    l_Packet.m_DataLength = static_cast<uint16_t>(a_Data.size());
    std::copy(a_Data.begin(), a_Data.end(), l_Packet.m_Data);
    return l_Packet;
}

VM_MESSAGE ReplyTo(const STARTED_REQUEST& a_Request, const BYTES& a_Data) {
    const VM_MESSAGE& l_Request = a_Request.m_Message;
    return {l_Request.m_Sequence, static_cast<uint8_t>(l_Request.m_NetFn | 1), 0, l_Request.m_Command, a_Data};
}

BYTES DataOf(const BRIDGE_PACKET& a_Packet) {
    return {a_Packet.m_Data, a_Packet.m_Data + a_Packet.m_DataLength};
}

} // namespace

TEST(RequestQueue, SendsTheRequestWithItsBytesAndLun) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1, 0x2C, 0x05, {0x00, 0x07}, 2));
    const auto l_Sent = l_Queue.Start(g_QueueNow);
    ASSERT_TRUE(l_Sent);
    EXPECT_EQ(l_Sent->m_Message.m_NetFn, 0x2C);
    EXPECT_EQ(l_Sent->m_Message.m_Lun, 2);
    EXPECT_EQ(l_Sent->m_Message.m_Command, 0x05);
    EXPECT_THAT(l_Sent->m_Message.m_Data, ElementsAre(0x00, 0x07));
}

TEST(RequestQueue, GivesTheReplyToTheOpenerWithItsMessageIdAndAddress) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(0x123456789A));
    const auto l_Answer = l_Queue.Accept(ReplyTo(*l_Queue.Start(g_QueueNow), {0x00, 0x35}));
    ASSERT_TRUE(l_Answer);
    EXPECT_EQ(l_Answer->m_Opener, g_Opener);
    EXPECT_EQ(l_Answer->m_Packet.m_MessageId, 0x123456789A);
    EXPECT_EQ(l_Answer->m_Packet.m_ReceiveType, uint32_t{IPMI_RESPONSE_RECV_TYPE});
    EXPECT_EQ(l_Answer->m_Packet.m_NetFn, 0x07);
    EXPECT_EQ(l_Answer->m_Packet.m_AddressLength, sizeof(ipmi_system_interface_addr));
    EXPECT_EQ(l_Answer->m_Packet.m_Address[0], IPMI_SYSTEM_INTERFACE_ADDR_TYPE);
    EXPECT_THAT(DataOf(l_Answer->m_Packet), ElementsAre(0x00, 0x35));
}

TEST(RequestQueue, HasOneRequestOutstandingAndKeepsTheOrderOfArrival) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1, 0x06, 0x01));
    l_Queue.Add(g_Other, Request(2, 0x06, 0x02));
    const auto l_First = l_Queue.Start(g_QueueNow);
    EXPECT_EQ(l_First->m_Message.m_Command, 0x01);
    EXPECT_FALSE(l_Queue.Start(g_QueueNow));
    EXPECT_EQ(l_Queue.Accept(ReplyTo(*l_First, {0x00}))->m_Opener, g_Opener);
    const auto l_Second = l_Queue.Start(g_QueueNow);
    EXPECT_EQ(l_Second->m_Message.m_Command, 0x02);
    EXPECT_EQ(l_Queue.Accept(ReplyTo(*l_Second, {0x00}))->m_Opener, g_Other);
}

TEST(RequestQueue, AnswersATimeOutWhenTheControllerGivesNoReply) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1));
    l_Queue.Start(g_QueueNow);
    EXPECT_EQ(l_Queue.Deadline(), g_QueueNow + g_DriverTimeOut);
    EXPECT_FALSE(l_Queue.Expire(g_QueueNow + g_DriverTimeOut - 1ms));
    const auto l_Answer = l_Queue.Expire(g_QueueNow + g_DriverTimeOut);
    ASSERT_TRUE(l_Answer);
    EXPECT_EQ(l_Answer->m_Packet.m_NetFn, 0x07);
    EXPECT_THAT(DataOf(l_Answer->m_Packet), ElementsAre(IPMI_TIMEOUT_COMPLETION_CODE));
    EXPECT_FALSE(l_Queue.Deadline());
}

TEST(RequestQueue, WaitsAsLongAsItIsTold) {
    REQUEST_QUEUE l_Queue(20ms);
    l_Queue.Add(g_Opener, Request(1));
    l_Queue.Start(g_QueueNow);
    EXPECT_FALSE(l_Queue.Expire(g_QueueNow + 19ms));
    EXPECT_TRUE(l_Queue.Expire(g_QueueNow + 20ms));
}

TEST(RequestQueue, WaitsForEverWithoutATimeOut) {
    REQUEST_QUEUE l_Queue(0ms);
    l_Queue.Add(g_Opener, Request(1));
    l_Queue.Add(g_Opener, Request(2));
    const auto l_Sent = l_Queue.Start(g_QueueNow);
    EXPECT_FALSE(l_Queue.Deadline());
    EXPECT_FALSE(l_Queue.Expire(g_QueueNow + 24h));
    EXPECT_FALSE(l_Queue.Start(g_QueueNow + 24h));
    EXPECT_EQ(l_Queue.Accept(ReplyTo(*l_Sent, {0x00}))->m_Packet.m_MessageId, 1);
}

TEST(RequestQueue, KnowsARequestAgainByItsEntry) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1), 17);
    const auto l_Sent = l_Queue.Start(g_QueueNow);
    EXPECT_EQ(l_Sent->m_Entry, 17U);
    EXPECT_EQ(l_Queue.Accept(ReplyTo(*l_Sent, {0x00}))->m_Entry, 17U);
}

TEST(RequestQueue, MakesACompletionCodeWhereTheReplyHasNone) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1));
    const auto l_Answer = l_Queue.Accept(ReplyTo(*l_Queue.Start(g_QueueNow), {}));
    EXPECT_THAT(DataOf(l_Answer->m_Packet), ElementsAre(0xFF));
}

TEST(RequestQueue, IgnoresAReplyThatComesAfterItsTimeOut) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1));
    l_Queue.Add(g_Opener, Request(2));
    const auto l_Late = l_Queue.Start(g_QueueNow);
    ASSERT_TRUE(l_Queue.Expire(g_QueueNow + g_DriverTimeOut));
    const auto l_Next = l_Queue.Start(g_QueueNow);
    EXPECT_FALSE(l_Queue.Accept(ReplyTo(*l_Late, {0x00})));
    EXPECT_EQ(l_Queue.Accept(ReplyTo(*l_Next, {0x00}))->m_Packet.m_MessageId, 2);
}

TEST(RequestQueue, IgnoresASecondReplyToTheSameRequest) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1));
    const auto l_Sent = l_Queue.Start(g_QueueNow);
    ASSERT_TRUE(l_Queue.Accept(ReplyTo(*l_Sent, {0x00})));
    EXPECT_FALSE(l_Queue.Accept(ReplyTo(*l_Sent, {0x00})));
}

TEST(RequestQueue, IgnoresAReplyToAnotherCommand) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1));
    VM_MESSAGE l_Other = ReplyTo(*l_Queue.Start(g_QueueNow), {0x00});
    l_Other.m_Command = 0x02;
    EXPECT_FALSE(l_Queue.Accept(l_Other));
}

TEST(RequestQueue, CutsAReplyThatIsLongerThanTheDriversMessages) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1));
    const auto l_Answer = l_Queue.Accept(ReplyTo(*l_Queue.Start(g_QueueNow), BYTES(300, 0x11)));
    EXPECT_EQ(l_Answer->m_Packet.m_DataLength, g_MaxMessage);
}

TEST(RequestQueue, ForgetsWhatAClosedOpenerStillWaitedFor) {
    REQUEST_QUEUE l_Queue;
    l_Queue.Add(g_Opener, Request(1, 0x06, 0x01));
    l_Queue.Add(g_Opener, Request(2, 0x06, 0x02));
    l_Queue.Add(g_Other, Request(3, 0x06, 0x03));
    const auto l_Outstanding = l_Queue.Start(g_QueueNow);
    l_Queue.Forget(g_Opener);
    EXPECT_EQ(l_Queue.Accept(ReplyTo(*l_Outstanding, {0x00}))->m_Opener, g_Nobody);
    EXPECT_EQ(l_Queue.Start(g_QueueNow)->m_Message.m_Command, 0x03);
}

TEST(RequestQueue, AnswersAResponseThatCannotBeSentWithTheKindForResponses) {
    const BRIDGE_PACKET l_Answer = TimeOutAnswer(Request(1, 0x07));
    EXPECT_EQ(l_Answer.m_ReceiveType, uint32_t{IPMI_RESPONSE_RESPONSE_TYPE});
    EXPECT_EQ(l_Answer.m_NetFn, 0x07);
}
