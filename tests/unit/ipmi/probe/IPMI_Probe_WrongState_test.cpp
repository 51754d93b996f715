// Replies that nobody waits for: each handler acts in its own request code only, and says so in its own words.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

struct STRAY {
    const char* m_Name;
    ipmi_addr_response_handler_t m_Trampoline;
    std::vector<int> m_Accepted; ///< request codes in which the reply is taken
    const char* m_Line;
    const char* m_Reply; ///< one that would have an effect
};

const STRAY g_Strays[] = {
    {"ReceivedPICMCProperties",
     ENTITYCAPTURE::s_ReceivedPICMCProperties,
     {1},
     "ENTITYCAPTURE :: ReceivedPICMCProperties -- incorrect State\n",
     "00 00 22 05"},
    {"ReceivedPICMCAddrInfo",
     ENTITYCAPTURE::s_ReceivedPICMCAddrInfo,
     {2},
     "ENTITYCAPTURE :: ReceivedPICMCAddrInfo -- incorrect State\n",
     "00 00 41 82 FF 03 01 07"},
    {"ReceivedDeviceID",
     ENTITYCAPTURE::s_ReceivedDeviceID,
     {3},
     "ENTITYCAPTURE :: ReceivedDeviceID -- incorrect State\n",
     "00 20 01 01 42 51 29 00 00 00 00 00"},
    {"ReceivedPICMCLEDProps",
     ENTITYCAPTURE::s_ReceivedPICMCLEDProps,
     {4},
     "ENTITYCAPTURE :: ReceivedPICMCLEDProps -- incorrect State\n",
     "00 00 0F 00"},
    {"ReceivedPICMCLEDColorCaps",
     ENTITYCAPTURE::s_ReceivedPICMCLEDColorCaps,
     {5},
     "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps -- incorrect State\n",
     "00 00 7E 01 01"},
    {"ReceivedFRUSize",
     ENTITYCAPTURE::s_ReceivedFRUSize,
     {6},
     "ENTITYCAPTURE :: ReceivedFRUSize -- incorrect State\n",
     "00 40 00 00"},
    {"ReceivedFRUChunk",
     ENTITYCAPTURE::s_ReceivedFRUChunk,
     {7},
     "ENTITYCAPTURE :: ReceivedFRUChunk in wrong state",
     "00 04 AA AA AA AA"},
    {"ReceivedReserveSDRRepository",
     ENTITYCAPTURE::s_ReceivedReserveSDRRepository,
     {8},
     "ENTITYCAPTURE :: ReceivedReserveSDRRepository -- incorrect State\n",
     "00 34 12"},
    {"ReceivedSDRData",
     ENTITYCAPTURE::s_ReceivedSDRData,
     {9, 10},
     "ENTITYCAPTURE :: ReceivedSDRData in wrong state",
     "00 FF FF 01 00 51 12 00"},
    {"ReceivedGetPICMCLEDState",
     ENTITYCAPTURE::s_ReceivedGetPICMCLEDState,
     {12},
     "ENTITYCAPTURE :: ReceivedGetPICMCLEDState -- incorrect State\n",
     "00 00 01 FF 00 03"},
    {"ReceivedSetPICMCLEDState",
     ENTITYCAPTURE::s_ReceivedSetPICMCLEDState,
     {13},
     "ENTITYCAPTURE :: ReceivedSetPICMCLEDState -- incorrect State\n",
     "00 00"},
    {"ReceivedFRUControl",
     ENTITYCAPTURE::s_ReceivedFRUControl,
     {13},
     "ENTITYCAPTURE :: ReceivedFRUControl -- incorrect State\n",
     "00 00"},
};

void PrintTo(const STRAY& a_Stray, std::ostream* a_Out) {
    *a_Out << a_Stray.m_Name;
}

/// Everything that a reply could change, as text.
std::string Picture(ENTITYCAPTURE& a_Probe) {
    std::string l_Picture = Text("state %i, cursors %i %i %i, offset %i, reservation %i;", int(ACCESS::State(a_Probe)),
                                 ACCESS::FRUID(a_Probe), ACCESS::LEDID(a_Probe), ACCESS::MaxFRUID(a_Probe),
                                 ACCESS::ReadFRUOffset(a_Probe), ACCESS::SDRReservationID(a_Probe));
    for (const auto& [l_ID, l_Entity] : ACCESS::FRUEntities(a_Probe)) {
        l_Picture +=
            Text(" entity %i: id %i bay %i site %i ipmb %i, %zu LEDs, %zu MCs, %zu FRUs;", l_ID, l_Entity->m_EntityID,
                 l_Entity->m_BayLocation, l_Entity->m_SiteValue, l_Entity->m_IPMB0Address, l_Entity->m_LEDMap.size(),
                 l_Entity->m_MCMap.size(), l_Entity->m_FRUMap.size());
        for (const auto& [l_LEDID, l_LED] : l_Entity->m_LEDMap) {
            l_Picture += Text(" LED %i: %i%i%i%i%i%i", l_LEDID, l_LED->m_bBlue, l_LED->m_bRed, l_LED->m_bGreen,
                              l_LED->m_bAmber, l_LED->m_bOrange, l_LED->m_bWhite);
        }
    }
    for (const auto& [l_ID, l_Info] : ACCESS::FRUAddressInfo(a_Probe))
        l_Picture += Text(" info %i: %i %i;", l_ID, l_Info->m_SiteID, l_Info->m_SiteType);
    for (const auto& [l_ID, l_Raw] : ACCESS::FRURawData(a_Probe))
        l_Picture += Text(" raw %i: ", l_ID) + ToHex({l_Raw->m_Data, l_Raw->m_Data + l_Raw->m_Size});
    for (const auto& [l_ID, l_FRU] : ACCESS::FRUs(a_Probe))
        l_Picture += Text(" FRU %i: ", l_ID) + l_FRU->m_Name;
    return l_Picture + Text(" model %zu, SDRs %zu", g_EntityMap.size(), g_SDRMAP.size());
}

class ProbeStrayReply : public PROBE_TEST, public ::testing::WithParamInterface<STRAY> {
protected:
    ProbeStrayReply() {
        ACCESS::MaxFRUID(*m_Probe) = 3;
        GiveEntity(0, 2);
        GiveEntity(3, 0);
        ACCESS::FRURawData(*m_Probe)[0] = new FRURAWDATA(16);
    }

    int Deliver() {
        SENT_REQUEST l_Request;
        l_Request.m_Domain = Fake().Domain();
        l_Request.m_Trampoline = GetParam().m_Trampoline;
        l_Request.m_Data1 = m_Probe.get();
        return Fake().Deliver(l_Request, Hex(GetParam().m_Reply));
    }

    bool IsAccepted(int a_State) const {
        return std::find(GetParam().m_Accepted.begin(), GetParam().m_Accepted.end(), a_State) !=
               GetParam().m_Accepted.end();
    }
};

TEST_P(ProbeStrayReply, InAnyOtherRequestCodeLeavesOneLineAndChangesNothing) {
    for (int l_State = 0; l_State <= 14; ++l_State) {
        if (IsAccepted(l_State)) continue;
        SetState(l_State);
        const std::string l_Before = Picture(*m_Probe);
        m_Log.Clear();
        EXPECT_EQ(Deliver(), IPMI_MSG_ITEM_NOT_USED) << "code " << l_State;
        EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ENTITYCAPTURE :: s_%s", GetParam().m_Name),
                                               (LOG_LINE{7, LOG_COMPONENT, GetParam().m_Line})))
            << "code " << l_State;
        EXPECT_EQ(Picture(*m_Probe), l_Before) << "code " << l_State;
        EXPECT_EQ(Fake().SentCount(), 0U) << "code " << l_State;
        EXPECT_FALSE(IsOver()) << "code " << l_State;
    }
}

TEST_P(ProbeStrayReply, InItsOwnRequestCodeIsTaken) {
    for (const int l_State : GetParam().m_Accepted) {
        SetState(l_State);
        m_Log.Clear();
        EXPECT_EQ(Deliver(), IPMI_MSG_ITEM_NOT_USED) << "code " << l_State;
        EXPECT_FALSE(m_Log.Has(GetParam().m_Line)) << "code " << l_State;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ProbeStrayReply, ::testing::ValuesIn(g_Strays),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

class ProbeDuplicateReply : public PROBE_TEST {};

TEST_F(ProbeDuplicateReply, IsIgnoredAtEveryStepOfTheInventory) {
    ScriptController({{0, 0, 3, {2, 4}, AreaOf(64, "board")}, {7, 1, 1, {2}, AreaOf(64, "AMC")}});
    Capture();
    const std::vector<std::string> l_Once = Requests();

    SetUpAgain();
    ScriptController({{0, 0, 3, {2, 4}, AreaOf(64, "board")}, {7, 1, 1, {2}, AreaOf(64, "AMC")}});
    m_Probe->StartCapture();
    for (std::size_t i = 0; i < l_Once.size(); ++i) {
        const SENT_REQUEST l_Request = Fake().Sent().back();
        const int l_State = State();
        ASSERT_TRUE(Fake().DeliverReply());
        if (State() != l_State) Fake().Deliver(l_Request, {0, 0, 0, 0, 0, 0, 0, 0}); // the code says it is stale
    }
    EXPECT_EQ(Requests(), l_Once);
}

} // namespace
