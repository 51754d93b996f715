// The bridged message, a trap for diagnostic builds: however sending goes, the process ends.
#include "ProbeFixture.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

using namespace BM_ADAPTOR;
using ::testing::ExitedWithCode;

namespace {

/// Writes each line to standard error, where a death test looks.
class STDERR_LOG : public CBaseOsLog {
public:
    virtual ~STDERR_LOG() = default;

    void Log(int a_Level, const char*, const char* a_Text) override { fprintf(stderr, "<%d %s>\n", a_Level, a_Text); }
};

class ProbeSendMessage : public PROBE_TEST {
protected:
    ProbeSendMessage() { g_Logger2 = &m_Stderr; }

    /// Shows the request on standard error when it is sent.
    static void ShowRequests() {
        Fake().OnRequest({}, [](const SENT_REQUEST& a_Request) {
            fprintf(stderr, "<request %s, second datum %ld, %s>\n", ToHex(a_Request.Bytes()).c_str(),
                    static_cast<long>(reinterpret_cast<intptr_t>(a_Request.m_Data2)),
                    a_Request.m_Trampoline == ENTITYCAPTURE::s_ReceivedSendMessage ? "s_ReceivedSendMessage" : "other");
            return std::optional<BYTES>{};
        });
    }

    STDERR_LOG m_Stderr;
    BYTES m_Message = {0x47, 0x72, 0x47};
};

TEST_F(ProbeSendMessage, EndsTheProcessThoughTheMessageWasSent) {
    EXPECT_EXIT(m_Probe->SendMessage(m_Message.data(), 3), ExitedWithCode(1),
                Text("<3 ENTITYCAPTURE :: SendMessage - rc=%i>\n<7 ENTITYCAPTURE :: SendMessage - rc=%i OS error %s>",
                     0, 0, strerror(0)));
}

TEST_F(ProbeSendMessage, EndsTheProcessOnAnErrorOfTheSystem) {
    Fake().SetSendResult(EINVAL);
    EXPECT_EXIT(m_Probe->SendMessage(m_Message.data(), 3), ExitedWithCode(1),
                Text("<7 ENTITYCAPTURE :: SendMessage - rc=%i OS error %s>", EINVAL, strerror(EINVAL)));
}

TEST_F(ProbeSendMessage, EndsTheProcessOnAnErrorOfTheController) {
    Fake().SetSendResult(0x10000C1);
    EXPECT_EXIT(m_Probe->SendMessage(m_Message.data(), 3), ExitedWithCode(1),
                Text("<7 ENTITYCAPTURE :: SendMessage - rc=%i IPMI error 0x%x>", 0x10000C1, 0xC1U));
}

TEST_F(ProbeSendMessage, ReturnsZeroOnAnErrorOfAnotherKind) {
    for (const int l_Result : {0x20000C1, 0x100, 0x1000100, -1}) {
        g_Logger2 = &m_Log;
        m_Log.Clear();
        Fake().SetSendResult(l_Result);
        EXPECT_EQ(m_Probe->SendMessage(m_Message.data(), 3), 0) << l_Result;
        EXPECT_EQ(m_Log.Lines().at(0),
                  Trace("ENTITYCAPTURE :: SendMessage - data= 0x%p", static_cast<void*>(m_Message.data())));
        EXPECT_EQ(m_Log.Lines().at(1), Warning("ENTITYCAPTURE :: SendMessage - rc=%i", l_Result));
        EXPECT_EQ(m_Log.Lines().size(), 2U);
    }
}

TEST_F(ProbeSendMessage, SendsTheCallersBytesWithTheStoredOffsetAsSecondDatum) {
    g_Logger2 = &m_Log;
    Fake().SetSendResult(0x2000000);
    ACCESS::ReadFRUOffset(*m_Probe) = 0x130;
    EXPECT_EQ(m_Probe->SendMessage(m_Message.data(), 3), 0);
    ASSERT_EQ(Fake().Sent().size(), 1U);
    const SENT_REQUEST l_Request = Fake().Sent()[0];
    EXPECT_EQ(ToHex(l_Request.Bytes()), "06 34 47 72 47");
    EXPECT_EQ(l_Request.m_Trampoline, &ENTITYCAPTURE::s_ReceivedSendMessage);
    EXPECT_EQ(l_Request.m_Data1, m_Probe.get());
    EXPECT_EQ(reinterpret_cast<intptr_t>(l_Request.m_Data2), 0x130);
    EXPECT_EQ(State(), 11);
}

TEST_F(ProbeSendMessage, SendsOneByteAndNothingOfNone) {
    g_Logger2 = &m_Log;
    Fake().SetSendResult(0x2000000);
    EXPECT_EQ(m_Probe->SendMessage(m_Message.data(), 1), 0);
    EXPECT_EQ(Requests().back(), "06 34 47");
    const std::pair<unsigned char*, int> l_None[] = {{nullptr, 3}, {m_Message.data(), 0}, {m_Message.data(), -1}};
    for (const auto& [l_Data, l_Length] : l_None) {
        EXPECT_EQ(m_Probe->SendMessage(l_Data, l_Length), 0);
        EXPECT_EQ(Requests().back(), "06 34") << l_Length;
    }
}

TEST_F(ProbeSendMessage, ReplyEndsTheProcessInEveryRequestCode) {
    for (const int l_State : {0, 1, 11, 14}) {
        SetState(l_State);
        const REPLY_ITEM l_Reply({0});
        EXPECT_EXIT(m_Probe->ReceivedSendMessage(l_Reply.m_Item), ExitedWithCode(1), "") << l_State;
    }
}

TEST_F(ProbeSendMessage, ComposedForAnAddressIsSevenBytesWithTwoChecksums) {
    ShowRequests();
    // 0x47 + 0x72 = 0xB9 and 0x01, negated: 0x47 and 0xFF
    const std::string l_Bytes =
        Text("B%i=0x%x ", 0, 0x47U) + Text("B%i=0x%x ", 1, 0x72U) + "B2=0x47 B3=0x0 B4=0x0 B5=0x1 B6=0xff ";
    EXPECT_EXIT(m_Probe->ComposeMessage(0x72), ExitedWithCode(1),
                Text("<7 ENTITYCAPTURE :: ComposeMessage Address=0x%x>\n<7 ", 0x72U) + l_Bytes + ">\n");
    EXPECT_EXIT(m_Probe->ComposeMessage(0x72), ExitedWithCode(1),
                "<request 06 34 47 72 47 00 00 01 FF, second datum 0, s_ReceivedSendMessage>");
}

} // namespace
