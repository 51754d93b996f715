// The fake's own promises, on which the tests of probe, domain thread and adaptor rest.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

/// Sends requests and keeps the replies.
class FakeConversation : public ::testing::Test {
protected:
    FakeConversation() { Fake().Reset(); }

    static int s_Received(ipmi_domain_t*, ipmi_msgi_t* a_Item) {
        auto* const l_Self = static_cast<FakeConversation*>(a_Item->data1);
        l_Self->m_Replies.emplace_back(a_Item->msg.data, a_Item->msg.data + a_Item->msg.data_len);
        return IPMI_MSG_ITEM_NOT_USED;
    }

    int Send(unsigned char a_NetFn, unsigned char a_Command, BYTES a_Data = {}) {
        ipmi_system_interface_addr_t l_Address{};
        l_Address.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
        ipmi_msg_t l_Message{};
        l_Message.netfn = a_NetFn;
        l_Message.cmd = a_Command;
        l_Message.data = a_Data.data();
        l_Message.data_len = static_cast<unsigned short>(a_Data.size());
        return ipmi_send_command_addr(Fake().Domain(), reinterpret_cast<ipmi_addr_t*>(&l_Address), sizeof(l_Address),
                                      &l_Message, s_Received, this, nullptr);
    }

    std::vector<BYTES> m_Replies;
};

TEST_F(FakeConversation, AnswersWithTheNewestRowThatBeginsTheRequest) {
    Fake().OnRequests({{{0x0A, 0x10}, {0x00, 0x10}}, {{0x0A, 0x10, 0x01}, {0x00, 0x20}}, {{0x0A, 0x11, 0x02}, {0x00}}});
    Send(0x0A, 0x10, {0x00});
    Send(0x0A, 0x10, {0x01});
    Send(0x0A, 0x11, {});
    EXPECT_EQ(Fake().Run(), 3U);
    EXPECT_EQ(m_Replies, (std::vector<BYTES>{{0x00, 0x10}, {0x00, 0x20}, {0xC1}})) << "the last one has no row";
}

TEST_F(FakeConversation, AnswersTheNthTimeDifferently) {
    Fake().OnRequest({0x06, 0x01}, BYTES{0x00});
    Fake().OnRequest({0x06, 0x01}, BYTES{0xC0}, 2);
    for (int i = 0; i < 3; ++i)
        Send(0x06, 0x01);
    Fake().Run();
    EXPECT_EQ(m_Replies, (std::vector<BYTES>{{0x00}, {0xC0}, {0x00}}));
}

TEST_F(FakeConversation, LosesReplies) {
    Fake().LoseReply({0x06, 0x01});
    EXPECT_EQ(Send(0x06, 0x01), 0);
    EXPECT_EQ(Fake().Outstanding(), 0U);
    EXPECT_FALSE(Fake().DeliverReply());
    EXPECT_EQ(Fake().SentCount(), 1U);
}

TEST_F(FakeConversation, RefusesToSend) {
    Fake().SetSendResult(0x10000C0);
    EXPECT_EQ(Send(0x06, 0x01), 0x10000C0);
    EXPECT_EQ(Fake().SentBytes(), std::vector<BYTES>{(BYTES{0x06, 0x01})});
    EXPECT_EQ(Fake().Outstanding(), 0U);
}

TEST_F(FakeConversation, DeliversOtherBytesWhenTold) {
    Send(0x06, 0x01);
    EXPECT_TRUE(Fake().DeliverReply({}));
    EXPECT_EQ(m_Replies, std::vector<BYTES>{BYTES{}});
}

TEST_F(FakeConversation, RecordsAddressAndData) {
    Send(0x2C, 0x01, {0x00, 0x07});
    const auto l_Request = Fake().Sent().front();
    ASSERT_EQ(l_Request.m_Address.size(), sizeof(ipmi_system_interface_addr_t));
    EXPECT_EQ(l_Request.Bytes(), (BYTES{0x2C, 0x01, 0x00, 0x07}));
    EXPECT_EQ(l_Request.m_Data1, this);
}

TEST_F(FakeConversation, CountsEndlessConversationsWithoutKeepingThem) {
    Fake().RecordRequests(false);
    for (int i = 0; i < 3; ++i)
        Send(0x06, 0x01);
    EXPECT_EQ(Fake().SentCount(), 3U);
    EXPECT_TRUE(Fake().Sent().empty());
    EXPECT_EQ(Fake().Run(2), 2U) << "and stops where told";
}

TEST_F(FakeConversation, IsDeliveredByTheEventLoopUntilThatIsIdle) {
    os_handler_t* const l_Handler = ipmi_posix_thread_setup_os_handler(12);
    std::thread([l_Handler] {
        for (;;)
            l_Handler->perform_one_op(l_Handler, nullptr);
    }).detach();
    Fake().Post([this] { Send(0x06, 0x01); });
    Fake().WaitUntilIdle();
    EXPECT_EQ(m_Replies, std::vector<BYTES>{BYTES{0xC1}});
}

} // namespace
