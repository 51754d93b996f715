// The inventory's first steps: PICMG properties make the entities, address information places them, the device id
// gives the controller's record.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class ProbeProperties : public PROBE_TEST {
protected:
    void Receive(const std::string& a_Reply) {
        m_Probe->StartCapture();
        Fake().DeliverReply(Hex(a_Reply));
    }
};

TEST_F(ProbeProperties, MakeTheBoardAndOneEntityForEachFurtherFRUId) {
    Receive("00 00 22 02 00");
    const auto& l_Entities = ACCESS::FRUEntities(*m_Probe);
    ASSERT_EQ(l_Entities.size(), 3U);
    struct {
        int m_EntityID;
        int m_Instance;
    } const l_Expected[] = {{160, 0x60}, {0, 1}, {0, 2}};
    for (unsigned char i = 0; i <= 2; ++i) {
        EXPECT_EQ(l_Entities.at(i)->m_Channel, 0);
        EXPECT_EQ(l_Entities.at(i)->m_Address, 0x20);
        EXPECT_EQ(l_Entities.at(i)->m_EntityID, l_Expected[i].m_EntityID);
        EXPECT_EQ(l_Entities.at(i)->m_EntityInstance, l_Expected[i].m_Instance);
        EXPECT_EQ(l_Entities.at(i)->m_FRUDeviceID, i);
    }
    EXPECT_THAT(Requests(), ElementsAre("2C 00 00", "2C 01 00 00"));
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedPICMCProperties"),
                   Trace("ENTITYCAPTURE :: ReceivedPICMCProperties CC=0x%x", 0U),
                   Trace("ENTITYCAPTURE :: ReceivedPICMCProperties adding entity %i address=0x%p", 0,
                         static_cast<void*>(l_Entities.at(0))),
                   Trace("ENTITYCAPTURE :: ReceivedPICMCProperties adding AMC/RTM entity %i address=0x%p", 1,
                         static_cast<void*>(l_Entities.at(1))),
                   Trace("ENTITYCAPTURE :: ReceivedPICMCProperties adding AMC/RTM entity %i address=0x%p", 2,
                         static_cast<void*>(l_Entities.at(2)))});
}

TEST_F(ProbeProperties, OfAFourByteReplyAreEnough) {
    Receive("00 00 22 00");
    EXPECT_EQ(ACCESS::FRUEntities(*m_Probe).size(), 1U);
    EXPECT_FALSE(IsOver());
}

TEST_F(ProbeProperties, ReplaceAnEntityThatIsAlreadyThere) {
    GiveEntity(1, 4).m_BayLocation = 77;
    Receive("00 00 22 01 00");
    EXPECT_EQ(ACCESS::FRUEntities(*m_Probe).at(1)->m_BayLocation, 0);
    EXPECT_TRUE(ACCESS::FRUEntities(*m_Probe).at(1)->m_LEDMap.empty());
}

TEST_F(ProbeProperties, RefusedEndTheProbeWithoutAnEntity) {
    Receive("C1");
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedPICMCProperties CC=0x%x", 0xC1U));
    EXPECT_TRUE(IsOver());
    EXPECT_TRUE(g_EntityMap.empty());
    EXPECT_EQ(Fake().SentCount(), 1U);
    EXPECT_EQ(State(), 0);
}

class ProbeAddressInfo : public PROBE_TEST {
protected:
    /// As after the properties: entities 0 to the maximum, and the address of FRU 0 asked for.
    void BeginWith(int a_MaxFRUID) {
        m_Probe->StartCapture();
        Fake().DeliverReply({0, 0, 0x22, static_cast<uint8_t>(a_MaxFRUID), 0});
        m_Log.Clear();
    }
    const IPMI_ENTITY& Entity(uint8_t a_FRUID) { return *ACCESS::FRUEntities(*m_Probe).at(a_FRUID); }
};

TEST_F(ProbeAddressInfo, IsTracedKeptAndGivenToTheEntity) {
    BeginWith(1);
    Fake().DeliverReply(Hex("00 00 41 82 FF 00 05 00"));
    ExpectInOrder(
        {Trace("ENTITYCAPTURE :: ReceivedPICMCAddrInfo"), Trace("ENTITYCAPTURE :: ReceivedPICMCAddrInfo CC=0x%x", 0U),
         Trace("ENTITYCAPTURE :: ReceivedPICMCAddrInfo HWADDR=0x%x IPMB0=0x%x FRUID=0x%x SiteID=0x%x SiteType=0x%x",
               0x41U, 0x82U, 0x0U, 0x5U, 0x0U)});
    EXPECT_EQ(Entity(0).m_BayLocation, 5);
    EXPECT_EQ(Entity(0).m_IPMB0Address, 0x82);
    EXPECT_EQ(Entity(0).m_Address, 0x20) << "the key keeps the local address";
    EXPECT_EQ(Entity(0).m_EntityID, 160);
    ASSERT_TRUE(ACCESS::FRUAddressInfo(*m_Probe).contains(0));
    EXPECT_EQ(ACCESS::FRUAddressInfo(*m_Probe).at(0)->m_HardwareAddress, 0x41);
    EXPECT_EQ(Requests().back(), "2C 01 00 01");
}

TEST_F(ProbeAddressInfo, SiteTypeDecidesTheEntityId) {
    struct {
        uint8_t m_SiteType;
        int m_EntityID;
        int m_Bay;
    } const l_Rows[] = {{0, 0xA0, 6}, {7, 0xA1, 6}, {9, 0xA2, 9},  {1, 0xFF, 6},
                        {6, 0xFF, 6}, {8, 0xFF, 6}, {255, 0xFF, 6}};
    for (const auto& l_Row : l_Rows) {
        SetUpAgain();
        BeginWith(2);
        Fake().DeliverReply({0, 0, 0x41, 0x82, 0xFF, 1, 6, l_Row.m_SiteType});
        EXPECT_EQ(Entity(1).m_EntityID, l_Row.m_EntityID) << int{l_Row.m_SiteType};
        EXPECT_EQ(Entity(1).m_BayLocation, l_Row.m_Bay) << int{l_Row.m_SiteType};
        EXPECT_EQ(m_Log.Has(Text("ENTITYCAPTURE :: ReceivedPICMCAddrInfo incorrect site type of %i", l_Row.m_SiteType)),
                  l_Row.m_EntityID == 0xFF)
            << int{l_Row.m_SiteType};
    }
}

TEST_F(ProbeAddressInfo, NextRequestFollowsTheRepliesFRUIdNotTheOneAskedFor) {
    BeginWith(8);
    Fake().DeliverReply(Hex("00 00 41 82 FF 05 01 07"));
    EXPECT_THAT(Requests(), ElementsAre("2C 00 00", "2C 01 00 00", "2C 01 00 06"));
    EXPECT_EQ(Entity(5).m_EntityID, 161);
    EXPECT_EQ(Entity(0).m_BayLocation, 0) << "FRU 0 was asked for and is passed over";
}

TEST_F(ProbeAddressInfo, ThatNeverAdvancesIsAskedForAgainAndAgain) {
    BM_LOG_LEVEL = 0;
    BeginWith(1);
    Fake().OnRequest({0x2C, 0x01}, Hex("00 00 41 82 FF 00 01 00"));
    for (int i = 0; i < 1000; ++i)
        Fake().DeliverReply(Hex("00 00 41 82 FF 00 01 00"));
    std::vector<std::string> l_Asked = Requests();
    l_Asked.erase(l_Asked.begin(), l_Asked.begin() + 2);
    EXPECT_EQ(l_Asked.size(), 1000U);
    EXPECT_THAT(l_Asked, Each("2C 01 00 01"));
    EXPECT_EQ(ACCESS::FRUAddressInfo(*m_Probe).size(), 1U);
}

TEST_F(ProbeAddressInfo, OfAFRUIdAboveTheMaximumMakesItsEntityAndGoesOn) {
    BeginWith(1);
    Fake().DeliverReply(Hex("00 00 41 82 FF C8 03 07"));
    ASSERT_TRUE(ACCESS::FRUEntities(*m_Probe).contains(200));
    EXPECT_EQ(Entity(200).m_EntityID, 161);
    EXPECT_EQ(Entity(200).m_EntityInstance, 200);
    EXPECT_EQ(Entity(200).m_FRUDeviceID, 200);
    EXPECT_EQ(Entity(200).m_Address, 0x20);
    EXPECT_EQ(Requests().back(), "06 01");
}

TEST_F(ProbeAddressInfo, OfTheLastFRUSearchesForAMCsAndAsksForTheDeviceId) {
    BeginWith(2);
    Fake().DeliverReply(Hex("00 00 41 82 FF 00 05 00"));
    Fake().DeliverReply(Hex("00 00 41 72 FF 01 01 07"));
    ExpectNotLogged("ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching");
    Fake().DeliverReply(Hex("00 00 41 90 FF 02 04 09"));
    EXPECT_THAT(
        m_Log.Texts("ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching"),
        ElementsAre("ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x0 siteID=0x5",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x7 siteID=0x1",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=AMC Found 0x7 siteID=0x1",
                    // the RTM's site is 9, whatever the controller numbers it
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x9 siteID=0x9"));
    EXPECT_EQ(Requests().back(), "06 01");
    EXPECT_EQ(State(), 3);
}

TEST_F(ProbeAddressInfo, SearchForAMCsNamesEveryEntityThoughItWasPassedOver) {
    BeginWith(3);
    Fake().DeliverReply(Hex("00 00 41 72 FF 01 04 07")); // for FRU 0
    Fake().DeliverReply(Hex("00 00 41 74 FF 03 0B 07")); // for FRU 2
    EXPECT_THAT(
        m_Log.Texts("ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching"),
        ElementsAre("ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x0 siteID=0x0",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x7 siteID=0x4",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=AMC Found 0x7 siteID=0x4",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x0 siteID=0x0",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=0x7 siteID=0xb",
                    "ENTITYCAPTURE :: ReceivedPICMCAddrInfo Searching for AMC sitetype=AMC Found 0x7 siteID=0xb"));
}

TEST_F(ProbeAddressInfo, RefusedEndsTheProbeWithTheEntitiesMadeSoFar) {
    BeginWith(1);
    Fake().DeliverReply({0xCC});
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedPICMCAddrInfo CC=0x%x", 0xCCU));
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(g_EntityMap.size(), 2U);
    EXPECT_EQ(Fake().SentCount(), 2U);
}

TEST_F(ProbeAddressInfo, HandlerReturnsMinusOneWhileFRUsAreLeft) {
    BeginWith(1);
    const REPLY_ITEM l_First(Hex("00 00 41 82 FF 00 05 00"));
    EXPECT_EQ(m_Probe->ReceivedPICMCAddrInfo(l_First.m_Item), -1);
    const REPLY_ITEM l_Last(Hex("00 00 41 82 FF 01 01 07"));
    EXPECT_EQ(m_Probe->ReceivedPICMCAddrInfo(l_Last.m_Item), 0);
}

class ProbeDeviceID : public PROBE_TEST {
protected:
    void Receive(const BYTES& a_Reply) {
        ACCESS::MaxFRUID(*m_Probe) = 0;
        GiveEntity(0, 0);
        m_Probe->SendGetDeviceID();
        m_Log.Clear();
        Fake().DeliverReply(a_Reply);
    }
    const std::map<std::string, IPMI_MC*>& Controllers() { return ACCESS::FRUEntities(*m_Probe).at(0)->m_MCMap; }
};

TEST_F(ProbeDeviceID, GivesTheBoardItsController) {
    Receive(DEVICE_ID_REPLY);
    ASSERT_EQ(Controllers().size(), 1U);
    const IPMI_MC& l_MC = *Controllers().begin()->second;
    EXPECT_EQ(l_MC.m_MajorFWRevision, 0x05) << "without the device-available bit";
    EXPECT_EQ(l_MC.m_MinorFWRevision, 0x42);
    EXPECT_EQ(l_MC.m_AuxFWRevision, "1 2 3 4");
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedDeviceID"), Trace("ENTITYCAPTURE :: ReceivedDeviceID CC=0x%x", 0U),
                   Trace("ENTITYCAPTURE :: ReceivedDeviceID -- Adding MC to entity\n")});
    EXPECT_EQ(Requests().back(), "2C 05 00 00");
    EXPECT_EQ(State(), 4);
}

TEST_F(ProbeDeviceID, WithoutAuxiliaryBytesLeavesThemEmpty) {
    Receive({DEVICE_ID_REPLY.begin(), DEVICE_ID_REPLY.begin() + 12});
    EXPECT_EQ(Controllers().begin()->second->m_AuxFWRevision, "");
}

TEST_F(ProbeDeviceID, RefusedGivesNoControllerAndTheInventoryGoesOn) {
    Receive({0xC1});
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedDeviceID CC=0x%x", 0xC1U));
    EXPECT_THAT(Controllers(), IsEmpty());
    EXPECT_EQ(Requests().back(), "2C 05 00 00");
}

} // namespace
