// The engine: what each request looks like on its way out, the code it sets, and how its reply finds its handler.
#include "ProbeFixture.h"

#include <unistd.h>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace {

using HANDLER = ipmi_addr_response_handler_t;

struct SENDER {
    const char* m_Name;
    int (*m_Send)(ENTITYCAPTURE&);
    const char* m_Request; ///< network function, command, data
    int m_State;
    HANDLER m_Trampoline;
    intptr_t m_SecondDatum;
};

int GetSDRs(ENTITYCAPTURE& a_Probe) {
    ACCESS::SDRReservationID(a_Probe) = 0x1234;
    return a_Probe.GetFRUSDRs();
}

const SENDER g_Senders[] = {
    {"SendGetPICMCProperties", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetPICMCProperties(); }, "2C 00 00", 1,
     ENTITYCAPTURE::s_ReceivedPICMCProperties, 0},
    {"SendGetPICMCAddrInfo", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetPICMCAddrInfo(7); }, "2C 01 00 07", 2,
     ENTITYCAPTURE::s_ReceivedPICMCAddrInfo, 0},
    {"SendGetDeviceID", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetDeviceID(); }, "06 01", 3,
     ENTITYCAPTURE::s_ReceivedDeviceID, 0},
    {"SendGetPICMCLEDProps", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetPICMCLEDProps(255); }, "2C 05 00 FF", 4,
     ENTITYCAPTURE::s_ReceivedPICMCLEDProps, 0},
    {"SendGetPICMCLEDColorCaps", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetPICMCLEDColorCaps(9, 3); },
     "2C 06 00 09 03", 5, ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps, 0},
    {"SendGetFRUSize", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetFRUSize(255); }, "0A 10 FF", 6,
     ENTITYCAPTURE::s_ReceivedFRUSize, 0},
    {"SendGetFRUChunk", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendGetFRUChunk(3, 0x1230); }, "0A 11 03 30 12 10",
     7, ENTITYCAPTURE::s_ReceivedFRUChunk, 0x1230},
    {"SendReserveSDRRepository", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendReserveSDRRepository(); }, "0A 22", 8,
     ENTITYCAPTURE::s_ReceivedReserveSDRRepository, 0},
    {"SendGetSDRData", GetSDRs, "0A 23 34 12 00 00 00 05", 9, ENTITYCAPTURE::s_ReceivedSDRData, 0},
    {"SendFRUControl", [](ENTITYCAPTURE& a_Probe) { return a_Probe.SendFRUControl(5, 2); }, "2C 04 00 05 02", 14,
     ENTITYCAPTURE::s_ReceivedFRUControl, 0},
};

void PrintTo(const SENDER& a_Sender, std::ostream* a_Out) {
    *a_Out << a_Sender.m_Name;
}

class ProbeRequest : public PROBE_TEST, public ::testing::WithParamInterface<SENDER> {
protected:
    ProbeRequest() {
        ACCESS::MaxFRUID(*m_Probe) = 255;
        GiveEntity(9, 4);
    }
};

TEST_P(ProbeRequest, GoesToTheLocalControllerOverTheSystemInterfaceWithItsBytes) {
    EXPECT_EQ(GetParam().m_Send(*m_Probe), 0);
    ASSERT_EQ(Fake().Sent().size(), 1U);
    const SENT_REQUEST l_Request = Fake().Sent()[0];
    EXPECT_EQ(ToHex(l_Request.Bytes()), GetParam().m_Request);
    EXPECT_EQ(l_Request.m_Domain, Fake().Domain());
    ASSERT_EQ(l_Request.m_Address.size(), 8U);
    ipmi_system_interface_addr_t l_Address{};
    std::copy(l_Request.m_Address.begin(), l_Request.m_Address.end(), reinterpret_cast<unsigned char*>(&l_Address));
    EXPECT_EQ(l_Address.addr_type, 0x0C);
    EXPECT_EQ(l_Address.channel, 0x0F);
    EXPECT_EQ(l_Address.lun, 0);
}

TEST_P(ProbeRequest, CarriesTheProbeAndItsSecondDatumToItsOwnTrampoline) {
    GetParam().m_Send(*m_Probe);
    ASSERT_EQ(Fake().Sent().size(), 1U);
    const SENT_REQUEST l_Request = Fake().Sent()[0];
    EXPECT_EQ(l_Request.m_Trampoline, GetParam().m_Trampoline);
    EXPECT_EQ(l_Request.m_Data1, m_Probe.get());
    EXPECT_EQ(reinterpret_cast<intptr_t>(l_Request.m_Data2), GetParam().m_SecondDatum);
}

TEST_P(ProbeRequest, SetsItsRequestCode) {
    EXPECT_EQ(State(), 0) << "idle after construction";
    GetParam().m_Send(*m_Probe);
    EXPECT_EQ(State(), GetParam().m_State);
}

// A host thread may get the reply's handler running before the send call has returned.
TEST_P(ProbeRequest, HasSetItsRequestCodeBeforeItIsSent) {
    int l_StateWhenSent = -1;
    Fake().OnRequest({}, [&](const SENT_REQUEST&) {
        l_StateWhenSent = State();
        return std::optional<BYTES>{};
    });
    GetParam().m_Send(*m_Probe);
    EXPECT_EQ(l_StateWhenSent, GetParam().m_State);
}

TEST_P(ProbeRequest, ThatCannotBeSentIsTracedAndOtherwiseIgnored) {
    Fake().SetSendResult(0x16);
    EXPECT_EQ(GetParam().m_Send(*m_Probe), 0);
    EXPECT_EQ(State(), GetParam().m_State);
    EXPECT_EQ(m_Log.Lines().back(), Trace("ENTITYCAPTURE :: %s - rc=%i", GetParam().m_Name, 0x16));
}

TEST_P(ProbeRequest, TracesItsNameBeforeAndTheResultAfterSending) {
    GetParam().m_Send(*m_Probe);
    const std::string l_Name = Text("ENTITYCAPTURE :: %s", GetParam().m_Name);
    ASSERT_GE(m_Log.Lines().size(), 2U);
    EXPECT_THAT(m_Log.Lines()[m_Log.Lines().size() - 2].m_Text, StartsWith(l_Name));
    EXPECT_EQ(m_Log.Lines().back(), Trace("%s - rc=%i", l_Name.c_str(), 0));
}

INSTANTIATE_TEST_SUITE_P(Every, ProbeRequest, ::testing::ValuesIn(g_Senders),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

/// A handler of the inventory or of the SDR walk, and the trace that stands before its completion code's.
struct CODE_TRACER {
    const char* m_Name;
    int m_State;
    HANDLER m_Trampoline;
    std::string m_Before;
};

const CODE_TRACER g_CodeTracers[] = {
    {"ReceivedPICMCProperties", 1, ENTITYCAPTURE::s_ReceivedPICMCProperties, ""},
    {"ReceivedPICMCAddrInfo", 2, ENTITYCAPTURE::s_ReceivedPICMCAddrInfo, ""},
    {"ReceivedDeviceID", 3, ENTITYCAPTURE::s_ReceivedDeviceID, ""},
    {"ReceivedPICMCLEDProps", 4, ENTITYCAPTURE::s_ReceivedPICMCLEDProps, " this=0x"},
    {"ReceivedPICMCLEDColorCaps", 5, ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps, " FRUID=2 LEDID=1"},
    {"ReceivedFRUSize", 6, ENTITYCAPTURE::s_ReceivedFRUSize, " FRUID=2"},
    {"ReceivedFRUChunk", 7, ENTITYCAPTURE::s_ReceivedFRUChunk, " FRUID=2"},
    {"ReceivedReserveSDRRepository", 8, ENTITYCAPTURE::s_ReceivedReserveSDRRepository, ""},
    {"ReceivedSDRData", 9, ENTITYCAPTURE::s_ReceivedSDRData, ""},
};

void PrintTo(const CODE_TRACER& a_Tracer, std::ostream* a_Out) {
    *a_Out << a_Tracer.m_Name;
}

class ProbeReplyCode : public PROBE_TEST, public ::testing::WithParamInterface<CODE_TRACER> {};

TEST_P(ProbeReplyCode, IsTracedBehindTheHandlersFirstLineWhateverItIs) {
    const std::string l_Name = Text("ENTITYCAPTURE :: %s", GetParam().m_Name);
    for (const BYTES& l_Reply : {BYTES{0xC1}, BYTES{0xFF}, BYTES{0x00}, BYTES{}}) {
        SetUpAgain();
        GiveEntity(2, 2);
        ACCESS::MaxFRUID(*m_Probe) = 2;
        ACCESS::FRUID(*m_Probe) = 2;
        ACCESS::LEDID(*m_Probe) = 1;
        SetState(GetParam().m_State);
        SENT_REQUEST l_Request;
        l_Request.m_Trampoline = GetParam().m_Trampoline;
        l_Request.m_Data1 = m_Probe.get();
        Fake().Deliver(l_Request, l_Reply);
        const unsigned l_Code = l_Reply.empty() ? 0xFF : l_Reply[0];
        ASSERT_GE(m_Log.Lines().size(), 3U);
        EXPECT_EQ(m_Log.Lines()[0], Trace("ENTITYCAPTURE :: s_%s", GetParam().m_Name));
        EXPECT_THAT(m_Log.Lines()[1].m_Text, StartsWith(l_Name + GetParam().m_Before));
        EXPECT_EQ(m_Log.Lines()[2], Trace("%s CC=0x%x", l_Name.c_str(), l_Code));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ProbeReplyCode, ::testing::ValuesIn(g_CodeTracers),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

class ProbeEngine : public PROBE_TEST {};

TEST_F(ProbeEngine, AddressInfoSenderTracesItsResult) {
    Fake().SetSendResult(5);
    m_Probe->SendGetPICMCAddrInfo(1);
    EXPECT_EQ(m_Log.Lines().back(), Trace("ENTITYCAPTURE :: SendGetPICMCAddrInfo - rc=%i", 5));
}

TEST_F(ProbeEngine, StartCaptureAsksForThePICMGProperties) {
    m_Probe->StartCapture();
    EXPECT_THAT(Requests(), ElementsAre("2C 00 00"));
    EXPECT_EQ(State(), 1);
}

TEST_F(ProbeEngine, BeginsIdleWithEmptyMaps) {
    EXPECT_EQ(State(), 0);
    EXPECT_TRUE(ACCESS::FRURawData(*m_Probe).empty());
    EXPECT_TRUE(ACCESS::FRUAddressInfo(*m_Probe).empty());
    EXPECT_TRUE(ACCESS::FRUEntities(*m_Probe).empty());
    EXPECT_TRUE(ACCESS::FRUs(*m_Probe).empty());
    EXPECT_EQ(ACCESS::ReadFRUOffset(*m_Probe), 0);
    EXPECT_EQ(ACCESS::Domain(*m_Probe), Fake().Domain());
    EXPECT_EQ(ACCESS::Thread(*m_Probe), m_Thread.get());
    EXPECT_EQ(g_Logger2, &m_Log) << "the constructor's logger becomes the one of domain thread and probe";
}

TEST_F(ProbeEngine, ReplyIsTracedByItsTrampolineBeforeItsHandler) {
    m_Probe->SendGetFRUSize(0);
    m_Log.Clear();
    Fake().DeliverReply({CC_NOT_PRESENT});
    EXPECT_EQ(m_Log.Lines().at(0), Trace("ENTITYCAPTURE :: s_ReceivedFRUSize"));
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ENTITYCAPTURE :: ReceivedFRUSize FRUID=%d", 0));
}

TEST_F(ProbeEngine, RepliesReachTheProbeThoughTheDomainIsGone) {
    m_Probe->SendGetPICMCProperties();
    SENT_REQUEST l_Request = Fake().Sent()[0];
    l_Request.m_Domain = nullptr;
    Fake().Deliver(l_Request, {0, 0, 0x22, 0});
    EXPECT_EQ(ACCESS::FRUEntities(*m_Probe).size(), 1U);
}

TEST_F(ProbeEngine, WorksWithoutALogger) {
    ScriptController({{0, 0, 1, {0x02}, AreaOf16()}});
    m_Probe.reset();
    m_Probe = std::make_unique<ENTITYCAPTURE>(Fake().Domain(), m_Thread.get(), nullptr);
    EXPECT_EQ(g_Logger2, nullptr);
    Capture();
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeEngine, TracesNothingWhileTheLogLevelIsNotThree) {
    ScriptController({{0, 0, 3, {2, 4}, AreaOf16()}, {7, 1, 0, {}, AreaOf(64, "AMC")}});
    BM_LOG_LEVEL = 7;
    Capture();
    EXPECT_TRUE(IsOver());
    EXPECT_THAT(m_Log.Lines(), ::testing::IsEmpty());
}

TEST_F(ProbeEngine, WritesEveryLineOfTheInventoryAtLevelSeven) {
    ScriptController({{0, 0, 3, {2, 4}, AreaOf16()}, {7, 1, 0, {}, AreaOf(64, "AMC")}, {33, 1, 0, {}, {}}});
    Capture();
    EXPECT_TRUE(IsOver());
    for (const LOG_LINE& l_Line : m_Log.Lines()) {
        EXPECT_EQ(l_Line.m_Level, 7) << l_Line.m_Text;
        EXPECT_EQ(l_Line.m_Component, "IPMI-Adaptor") << l_Line.m_Text;
    }
}

struct TRAMPOLINE {
    const char* m_Name;
    HANDLER m_Trampoline;
};

const TRAMPOLINE g_Trampolines[] = {
    {"s_ReceivedPICMCProperties", ENTITYCAPTURE::s_ReceivedPICMCProperties},
    {"s_ReceivedPICMCAddrInfo", ENTITYCAPTURE::s_ReceivedPICMCAddrInfo},
    {"s_ReceivedDeviceID", ENTITYCAPTURE::s_ReceivedDeviceID},
    {"s_ReceivedPICMCLEDProps", ENTITYCAPTURE::s_ReceivedPICMCLEDProps},
    {"s_ReceivedPICMCLEDColorCaps", ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps},
    {"s_ReceivedFRUSize", ENTITYCAPTURE::s_ReceivedFRUSize},
    {"s_ReceivedFRUChunk", ENTITYCAPTURE::s_ReceivedFRUChunk},
    {"s_ReceivedReserveSDRRepository", ENTITYCAPTURE::s_ReceivedReserveSDRRepository},
    {"s_ReceivedSDRData", ENTITYCAPTURE::s_ReceivedSDRData},
    {"s_ReceivedSendMessage", ENTITYCAPTURE::s_ReceivedSendMessage},
    {"s_ReceivedFRUControl", ENTITYCAPTURE::s_ReceivedFRUControl},
};

void PrintTo(const TRAMPOLINE& a_Trampoline, std::ostream* a_Out) {
    *a_Out << a_Trampoline.m_Name;
}

class ProbeTrampoline : public PROBE_TEST, public ::testing::WithParamInterface<TRAMPOLINE> {
protected:
    SENT_REQUEST Request(void* a_Data1) const {
        SENT_REQUEST l_Request;
        l_Request.m_Trampoline = GetParam().m_Trampoline;
        l_Request.m_Data1 = a_Data1;
        return l_Request;
    }
};

/// What is printed to standard output goes where a death test looks.
void StdoutToStderr() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

TEST_P(ProbeTrampoline, WithoutAnObjectSaysSoAndEndsTheProcess) {
    EXPECT_EXIT(
        {
            StdoutToStderr();
            Fake().Deliver(Request(nullptr), {0});
        },
        ::testing::ExitedWithCode(1), "ERROR SELF==NULL");
}

TEST_P(ProbeTrampoline, TracesItsOwnName) {
    m_Probe->Supersede(); // nothing but the trampoline acts
    Fake().Deliver(Request(m_Probe.get()), {0});
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ENTITYCAPTURE :: %s", GetParam().m_Name)));
}

TEST_P(ProbeTrampoline, LeavesTheReplyItemToOpenIPMI) {
    m_Probe->Supersede();
    EXPECT_EQ(Fake().Deliver(Request(m_Probe.get()), {0}), IPMI_MSG_ITEM_NOT_USED);
}

INSTANTIATE_TEST_SUITE_P(Every, ProbeTrampoline, ::testing::ValuesIn(g_Trampolines),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

} // namespace
