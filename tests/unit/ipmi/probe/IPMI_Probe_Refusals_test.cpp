// Each request of an inventory refused, or answered too shortly, one at a time: what ends the probe, what is skipped.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;

namespace {

/// Board with two LEDs, AMC with one, each with an area of four chunks.
const std::vector<SCRIPTED_FRU> g_FRUs = {{0, 0, 0x03, {0x02, 0x04}, AreaOf(64, "board")},
                                          {7, 1, 0x01, {0x02}, AreaOf(64, "AMC")}};

struct STEP {
    const char* m_Request;
    std::size_t m_MinLength; ///< of a reply that can be used
    const char* m_Next;      ///< the request after a reply that cannot; empty: the probe ends
};

const STEP g_Steps[] = {
    {"2C 00 00", 4, ""},
    {"2C 01 00 00", 8, ""},
    {"2C 01 00 01", 8, ""},
    {"06 01", 5, "2C 05 00 00"},
    {"2C 05 00 00", 3, "2C 05 00 01"}, // as a FRU without LEDs
    {"2C 06 00 00 00", 3, "2C 06 00 00 01"},
    {"2C 06 00 00 01", 3, "2C 05 00 01"},
    {"2C 05 00 01", 3, "0A 10 00"},
    {"2C 06 00 01 00", 3, "0A 10 00"},
    {"0A 10 00", 3, "0A 10 01"},          // there is no such FRU
    {"0A 11 00 00 00 10", 2, "0A 10 01"}, // the FRU is abandoned
    {"0A 11 00 10 00 10", 2, "0A 11 00 10 00 10"},
    {"0A 11 00 30 00 10", 2, "0A 11 00 30 00 10"},
    {"0A 10 01", 3, ""},
    {"0A 11 01 00 00 10", 2, ""},
    {"0A 11 01 20 00 10", 2, "0A 11 00 20 00 10"}, // FRU 0, on purpose
};

std::string NameOf(const STEP& a_Step) {
    std::string l_Name = std::string("Request_") + a_Step.m_Request;
    std::replace(l_Name.begin(), l_Name.end(), ' ', '_');
    return l_Name;
}
void PrintTo(const STEP& a_Step, std::ostream* a_Out) {
    *a_Out << a_Step.m_Request;
}

class ProbeRefusal : public PROBE_TEST, public ::testing::WithParamInterface<STEP> {
protected:
    /// The whole inventory with this reply the first time that the request is sent; the next request sent after it.
    std::string NextAfter(const BYTES& a_Reply) {
        SetUpAgain();
        ScriptController(g_FRUs);
        Fake().OnRequest(Hex(GetParam().m_Request), a_Reply, 1);
        Capture(1000);
        const std::vector<std::string> l_Requests = Requests();
        const auto l_Asked = std::find(l_Requests.begin(), l_Requests.end(), GetParam().m_Request);
        if (l_Asked == l_Requests.end()) return "never asked";
        return l_Asked + 1 != l_Requests.end() ? *(l_Asked + 1) : "";
    }

    /// The reply that the script would give.
    static BYTES GoodReply() {
        ScriptController(g_FRUs);
        BYTES l_Reply;
        SENT_REQUEST l_Request;
        const BYTES l_Bytes = Hex(GetParam().m_Request);
        l_Request.m_NetFn = l_Bytes[0];
        l_Request.m_Command = l_Bytes[1];
        l_Request.m_Data.assign(l_Bytes.begin() + 2, l_Bytes.end());
        l_Request.m_Trampoline = [](ipmi_domain_t*, ipmi_msgi_t* a_Item) {
            *static_cast<BYTES*>(a_Item->data1) = {a_Item->msg.data, a_Item->msg.data + a_Item->msg.data_len};
            return 0;
        };
        l_Request.m_Data1 = &l_Reply;
        Fake().Send(l_Request);
        Fake().DeliverReply();
        return l_Reply;
    }
};

TEST_P(ProbeRefusal, LeadsToTheNextRequestOrTheEnd) {
    for (const uint8_t l_Code : {0xC1, 0xC3, 0xCB, 0xFF, 0x01}) {
        EXPECT_EQ(NextAfter({l_Code}), GetParam().m_Next) << "completion code " << int{l_Code};
        EXPECT_TRUE(IsOver());
        EXPECT_EQ(Fake().Outstanding(), 0U);
    }
}

TEST_P(ProbeRefusal, WithAWholeReplyBehindTheCodeIsARefusalAllTheSame) {
    BYTES l_Reply = GoodReply();
    ASSERT_GE(l_Reply.size(), GetParam().m_MinLength);
    l_Reply[0] = 0xC1;
    EXPECT_EQ(NextAfter(l_Reply), GetParam().m_Next);
    EXPECT_TRUE(IsOver());
}

TEST_P(ProbeRefusal, IsWhatAReplyTooShortIsTakenFor) {
    const BYTES l_Good = GoodReply();
    for (std::size_t l_Length = 0; l_Length < GetParam().m_MinLength; ++l_Length) {
        EXPECT_EQ(NextAfter({l_Good.begin(), l_Good.begin() + static_cast<long>(l_Length)}), GetParam().m_Next)
            << l_Length << " bytes";
        EXPECT_TRUE(IsOver());
    }
}

TEST_P(ProbeRefusal, IsNotWhatTheShortestUsefulReplyIsTakenFor) {
    const BYTES l_Good = GoodReply();
    const std::string l_Undisturbed = NextAfter(l_Good);
    const std::string l_Shortest =
        NextAfter({l_Good.begin(), l_Good.begin() + static_cast<long>(GetParam().m_MinLength)});
    EXPECT_EQ(l_Shortest, l_Undisturbed);
    EXPECT_TRUE(IsOver());
}

INSTANTIATE_TEST_SUITE_P(Of, ProbeRefusal, ::testing::ValuesIn(g_Steps),
                         [](const auto& a_Info) { return NameOf(a_Info.param); });

class ProbeRefusedThroughout : public PROBE_TEST {};

TEST_F(ProbeRefusedThroughout, ByAControllerWithoutPICMGEndsWithAnEmptyModel) {
    Capture(); // the fake refuses what is not in its script
    EXPECT_EQ(Requests(), std::vector<std::string>{"2C 00 00"});
    EXPECT_TRUE(IsOver());
    EXPECT_TRUE(g_EntityMap.empty());
}

TEST_F(ProbeRefusedThroughout, ForEverythingThatMayBeSkippedStillGivesTheEntities) {
    ScriptController(g_FRUs);
    for (const char* l_Request : {"06 01", "2C 05", "0A 10"})
        Fake().OnRequest(Hex(l_Request), BYTES{0xD5});
    Capture();
    EXPECT_TRUE(IsOver());
    ASSERT_EQ(g_EntityMap.size(), 2U);
    for (const auto& [l_Address, l_Entity] : g_EntityMap) {
        EXPECT_TRUE(l_Entity->m_LEDMap.empty());
        EXPECT_TRUE(l_Entity->m_MCMap.empty());
        EXPECT_TRUE(l_Entity->m_FRUMap.empty());
    }
}

} // namespace
