// The driver's queue: one request at a time, replies to their openers, time-outs.
#include "sim/driver/RequestQueue.h"

#include "sim/base/Bytes.h"

#include <gmock/gmock.h>
#include <linux/ipmi.h>
#include <linux/ipmi_msgdefs.h>

#include <cstring>
#include <vector>

using namespace bladesim;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

constexpr int Opener = 5;
constexpr int Other = 6;
const RequestQueue::Clock::time_point QueueNow{};

BridgePacket Request(int64_t id, uint8_t netFn = 0x06, uint8_t command = 0x01, const Bytes& data = {},
                     uint8_t lun = 0) {
    BridgePacket packet{};
    const ipmi_system_interface_addr address{IPMI_SYSTEM_INTERFACE_ADDR_TYPE, IPMI_BMC_CHANNEL, lun};
    packet.m_addressLength = sizeof(address);
    std::memcpy(packet.m_address, &address, sizeof(address));
    packet.m_messageId = id;
    packet.m_netFn = netFn;
    packet.m_command = command;
    packet.m_dataLength = static_cast<uint16_t>(data.size());
    std::copy(data.begin(), data.end(), packet.m_data);
    return packet;
}

VmMessage ReplyTo(const StartedRequest& started, const Bytes& data) {
    const VmMessage& request = started.m_message;
    return {request.m_sequence, static_cast<uint8_t>(request.m_netFn | 1), 0, request.m_command, data};
}

Bytes DataOf(const BridgePacket& packet) {
    return {packet.m_data, packet.m_data + packet.m_dataLength};
}

} // namespace

TEST(RequestQueue, SendsTheRequestWithItsBytesAndLun) {
    RequestQueue queue;
    queue.Add(Opener, Request(1, 0x2C, 0x05, {0x00, 0x07}, 2));
    const auto sent = queue.Start(QueueNow);
    ASSERT_TRUE(sent);
    EXPECT_EQ(sent->m_message.m_netFn, 0x2C);
    EXPECT_EQ(sent->m_message.m_lun, 2);
    EXPECT_EQ(sent->m_message.m_command, 0x05);
    EXPECT_THAT(sent->m_message.m_data, ElementsAre(0x00, 0x07));
}

TEST(RequestQueue, GivesTheReplyToTheOpenerWithItsMessageIdAndAddress) {
    RequestQueue queue;
    queue.Add(Opener, Request(0x123456789A));
    const auto answer = queue.Accept(ReplyTo(*queue.Start(QueueNow), {0x00, 0x35}));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->m_opener, Opener);
    EXPECT_EQ(answer->m_packet.m_messageId, 0x123456789A);
    EXPECT_EQ(answer->m_packet.m_receiveType, uint32_t{IPMI_RESPONSE_RECV_TYPE});
    EXPECT_EQ(answer->m_packet.m_netFn, 0x07);
    EXPECT_EQ(answer->m_packet.m_addressLength, sizeof(ipmi_system_interface_addr));
    EXPECT_EQ(answer->m_packet.m_address[0], IPMI_SYSTEM_INTERFACE_ADDR_TYPE);
    EXPECT_THAT(DataOf(answer->m_packet), ElementsAre(0x00, 0x35));
}

TEST(RequestQueue, HasOneRequestOutstandingAndKeepsTheOrderOfArrival) {
    RequestQueue queue;
    queue.Add(Opener, Request(1, 0x06, 0x01));
    queue.Add(Other, Request(2, 0x06, 0x02));
    const auto first = queue.Start(QueueNow);
    EXPECT_EQ(first->m_message.m_command, 0x01);
    EXPECT_FALSE(queue.Start(QueueNow));
    EXPECT_EQ(queue.Accept(ReplyTo(*first, {0x00}))->m_opener, Opener);
    const auto second = queue.Start(QueueNow);
    EXPECT_EQ(second->m_message.m_command, 0x02);
    EXPECT_EQ(queue.Accept(ReplyTo(*second, {0x00}))->m_opener, Other);
}

TEST(RequestQueue, AnswersATimeOutWhenTheControllerGivesNoReply) {
    RequestQueue queue;
    queue.Add(Opener, Request(1));
    queue.Start(QueueNow);
    EXPECT_EQ(queue.Deadline(), QueueNow + DriverTimeOut);
    EXPECT_FALSE(queue.Expire(QueueNow + DriverTimeOut - 1ms));
    const auto answer = queue.Expire(QueueNow + DriverTimeOut);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->m_packet.m_netFn, 0x07);
    EXPECT_THAT(DataOf(answer->m_packet), ElementsAre(IPMI_TIMEOUT_COMPLETION_CODE));
    EXPECT_FALSE(queue.Deadline());
}

TEST(RequestQueue, WaitsAsLongAsItIsTold) {
    RequestQueue queue(20ms);
    queue.Add(Opener, Request(1));
    queue.Start(QueueNow);
    EXPECT_FALSE(queue.Expire(QueueNow + 19ms));
    EXPECT_TRUE(queue.Expire(QueueNow + 20ms));
}

TEST(RequestQueue, WaitsForEverWithoutATimeOut) {
    RequestQueue queue(0ms);
    queue.Add(Opener, Request(1));
    queue.Add(Opener, Request(2));
    const auto sent = queue.Start(QueueNow);
    EXPECT_FALSE(queue.Deadline());
    EXPECT_FALSE(queue.Expire(QueueNow + 24h));
    EXPECT_FALSE(queue.Start(QueueNow + 24h));
    EXPECT_EQ(queue.Accept(ReplyTo(*sent, {0x00}))->m_packet.m_messageId, 1);
}

TEST(RequestQueue, KnowsARequestAgainByItsEntry) {
    RequestQueue queue;
    queue.Add(Opener, Request(1), 17);
    const auto sent = queue.Start(QueueNow);
    EXPECT_EQ(sent->m_entry, 17U);
    EXPECT_EQ(queue.Accept(ReplyTo(*sent, {0x00}))->m_entry, 17U);
}

TEST(RequestQueue, MakesACompletionCodeWhereTheReplyHasNone) {
    RequestQueue queue;
    queue.Add(Opener, Request(1));
    const auto answer = queue.Accept(ReplyTo(*queue.Start(QueueNow), {}));
    EXPECT_THAT(DataOf(answer->m_packet), ElementsAre(0xFF));
}

TEST(RequestQueue, IgnoresAReplyThatComesAfterItsTimeOut) {
    RequestQueue queue;
    queue.Add(Opener, Request(1));
    queue.Add(Opener, Request(2));
    const auto late = queue.Start(QueueNow);
    ASSERT_TRUE(queue.Expire(QueueNow + DriverTimeOut));
    const auto next = queue.Start(QueueNow);
    EXPECT_FALSE(queue.Accept(ReplyTo(*late, {0x00})));
    EXPECT_EQ(queue.Accept(ReplyTo(*next, {0x00}))->m_packet.m_messageId, 2);
}

TEST(RequestQueue, IgnoresASecondReplyToTheSameRequest) {
    RequestQueue queue;
    queue.Add(Opener, Request(1));
    const auto sent = queue.Start(QueueNow);
    ASSERT_TRUE(queue.Accept(ReplyTo(*sent, {0x00})));
    EXPECT_FALSE(queue.Accept(ReplyTo(*sent, {0x00})));
}

TEST(RequestQueue, GivesUpTheOutstandingRequestByItsNumberWithTheTimeOutsAnswer) {
    RequestQueue queue(0ms);
    EXPECT_FALSE(queue.Outstanding());
    EXPECT_FALSE(queue.GiveUp());
    queue.Add(Opener, Request(1));
    EXPECT_FALSE(queue.Outstanding());
    const auto sent = queue.Start(QueueNow);
    EXPECT_EQ(queue.Outstanding(), sent->m_message.m_sequence);
    const auto answer = queue.GiveUp();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->m_opener, Opener);
    EXPECT_THAT(DataOf(answer->m_packet), ElementsAre(IPMI_TIMEOUT_COMPLETION_CODE));
    EXPECT_FALSE(queue.Outstanding());
    EXPECT_FALSE(queue.Accept(ReplyTo(*sent, {0x00})));
}

TEST(RequestQueue, IgnoresAReplyToAnotherCommand) {
    RequestQueue queue;
    queue.Add(Opener, Request(1));
    VmMessage other = ReplyTo(*queue.Start(QueueNow), {0x00});
    other.m_command = 0x02;
    EXPECT_FALSE(queue.Accept(other));
}

TEST(RequestQueue, CutsAReplyThatIsLongerThanTheDriversMessages) {
    RequestQueue queue;
    queue.Add(Opener, Request(1));
    const auto answer = queue.Accept(ReplyTo(*queue.Start(QueueNow), Bytes(300, 0x11)));
    EXPECT_EQ(answer->m_packet.m_dataLength, MaxMessage);
}

TEST(RequestQueue, ForgetsWhatAClosedOpenerStillWaitedFor) {
    RequestQueue queue;
    queue.Add(Opener, Request(1, 0x06, 0x01));
    queue.Add(Opener, Request(2, 0x06, 0x02));
    queue.Add(Other, Request(3, 0x06, 0x03));
    const auto outstanding = queue.Start(QueueNow);
    queue.Forget(Opener);
    EXPECT_EQ(queue.Accept(ReplyTo(*outstanding, {0x00}))->m_opener, Nobody);
    EXPECT_EQ(queue.Start(QueueNow)->m_message.m_command, 0x03);
}

TEST(RequestQueue, AnswersAResponseThatCannotBeSentWithTheKindForResponses) {
    const BridgePacket answer = TimeOutAnswer(Request(1, 0x07));
    EXPECT_EQ(answer.m_receiveType, uint32_t{IPMI_RESPONSE_RESPONSE_TYPE});
    EXPECT_EQ(answer.m_netFn, 0x07);
}
