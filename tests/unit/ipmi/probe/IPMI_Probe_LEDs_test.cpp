// The inventory's LED steps: the mask table, the colour flags, and the way from FRU to FRU.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

class ProbeLEDs : public PROBE_TEST {
protected:
    /// Entities 0 to the maximum without LEDs, as after the device id.
    void BeginWith(int a_MaxFRUID) {
        ACCESS::MaxFRUID(*m_Probe) = a_MaxFRUID;
        for (int i = 0; i <= a_MaxFRUID; ++i)
            GiveEntity(static_cast<uint8_t>(i), 0);
        m_Probe->SendGetPICMCLEDProps(0);
        m_Log.Clear();
    }
    void Reply(const std::string& a_Reply) { Fake().DeliverReply(Hex(a_Reply)); }
    IPMI_ENTITY& Entity(uint8_t a_FRUID) { return *ACCESS::FRUEntities(*m_Probe).at(a_FRUID); }
};

TEST_F(ProbeLEDs, AreCountedByAFixedTableOfMasks) {
    for (unsigned l_Byte = 0; l_Byte < 256; ++l_Byte) {
        const unsigned l_Mask = l_Byte & 0x0F;
        const int l_Expected = l_Mask == 0x0F ? 4 : l_Mask == 0x07 ? 3 : l_Mask == 0x03 ? 2 : l_Mask == 0x01 ? 1 : 0;
        SetUpAgain();
        BeginWith(0);
        Fake().DeliverReply({0, 0, static_cast<uint8_t>(l_Byte), 0xFF}); // the number of application LEDs is not used
        EXPECT_EQ(Entity(0).m_LEDMap.size(), static_cast<std::size_t>(l_Expected)) << l_Byte;
        EXPECT_EQ(Requests().back(), l_Expected > 0 ? "2C 06 00 00 00" : "0A 10 00") << l_Byte;
        ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedPICMCLEDProps - l_SupportedLEDs =0x%x", l_Mask),
                       Trace("ENTITYCAPTURE :: ReceivedPICMCLEDProps - found %i LEDs", l_Expected),
                       Trace("ENTITYCAPTURE :: ReceivedPICMCLEDProps - Adding %i LEDs", l_Expected)});
    }
}

TEST_F(ProbeLEDs, PropertiesReplyIsTracedWithObjectStateAndFRUId) {
    BeginWith(0);
    Reply("00 00 00 00");
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ENTITYCAPTURE :: ReceivedPICMCLEDProps this=0x%p state=%i FRUID=%d",
                                         static_cast<void*>(m_Probe.get()), 4, 0));
}

TEST_F(ProbeLEDs, CarryTheirEntitysAddressAndTheirId) {
    BeginWith(1);
    Reply("00 00 00 00");
    Reply("00 00 03 00");
    ASSERT_EQ(Entity(1).m_LEDMap.size(), 2U);
    for (const auto& [l_ID, l_LED] : Entity(1).m_LEDMap) {
        EXPECT_EQ(l_LED->m_LEDID, l_ID);
        EXPECT_EQ(l_LED->m_Channel, 0);
        EXPECT_EQ(l_LED->m_Address, 0x20);
        EXPECT_EQ(l_LED->m_EntityID, Entity(1).m_EntityID);
        EXPECT_EQ(l_LED->m_EntityInstance, 1);
        EXPECT_EQ(l_LED->m_Name, "");
        EXPECT_FALSE(l_LED->m_bBlue || l_LED->m_bRed || l_LED->m_bGreen || l_LED->m_bAmber || l_LED->m_bOrange ||
                     l_LED->m_bWhite);
    }
}

TEST_F(ProbeLEDs, CapabilityBitsAreThePICMGColourCodes) {
    for (unsigned l_Bits = 0; l_Bits < 256; ++l_Bits) {
        SetUpAgain();
        BeginWith(0);
        Reply("00 00 01 00");
        Fake().DeliverReply({0, 0, static_cast<uint8_t>(l_Bits), 3, 3});
        const IPMI_LED& l_LED = *Entity(0).m_LEDMap.at(0);
        const unsigned l_Flags = l_LED.m_bBlue << 1 | l_LED.m_bRed << 2 | l_LED.m_bGreen << 3 | l_LED.m_bAmber << 4 |
                                 l_LED.m_bOrange << 5 | l_LED.m_bWhite << 6;
        EXPECT_EQ(l_Flags, l_Bits & 0x7E);
        ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps FRUID=%i LEDID=%i", 0, 0),
                       Trace("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps SupportedColor=0x%x", l_Bits)});
    }
}

TEST_F(ProbeLEDs, EachGetsItsOwnColours) {
    BeginWith(0);
    Reply("00 00 07 00");
    Reply("00 00 02 01 01");
    Reply("00 00 04"); // without the default colours, which nobody needs
    Reply("00 00 48 01 01");
    const auto& l_LEDs = Entity(0).m_LEDMap;
    EXPECT_TRUE(l_LEDs.at(0)->m_bBlue && !l_LEDs.at(0)->m_bRed && !l_LEDs.at(0)->m_bGreen && !l_LEDs.at(0)->m_bWhite);
    EXPECT_TRUE(!l_LEDs.at(1)->m_bBlue && l_LEDs.at(1)->m_bRed && !l_LEDs.at(1)->m_bGreen && !l_LEDs.at(1)->m_bWhite);
    EXPECT_TRUE(!l_LEDs.at(2)->m_bBlue && !l_LEDs.at(2)->m_bRed && l_LEDs.at(2)->m_bGreen && l_LEDs.at(2)->m_bWhite);
    EXPECT_EQ(Requests().back(), "0A 10 00");
}

TEST_F(ProbeLEDs, OfEveryFRUAreAskedThoughFRU0HasLEDs) {
    BeginWith(3);
    Reply("00 00 03 00"); // FRU 0: two LEDs
    Reply("00 00 02 01 01");
    Reply("00 00 02 01 01");
    Reply("00 00 00 00"); // FRU 1: none
    Reply("00 00 01 00"); // FRU 2: one
    Reply("00 00 02 01 01");
    Reply("00 00 01 00"); // FRU 3: one
    Reply("00 00 02 01 01");
    EXPECT_THAT(Requests(), ElementsAre("2C 05 00 00", "2C 06 00 00 00", "2C 06 00 00 01", "2C 05 00 01", "2C 05 00 02",
                                        "2C 06 00 02 00", "2C 05 00 03", "2C 06 00 03 00", "0A 10 00"));
    EXPECT_THAT(m_Log.Texts("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps "),
                ElementsAre("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps FRUID=0 LEDID=0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps CC=0x0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps SupportedColor=0x2",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps FRUID=0 LEDID=1",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps CC=0x0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps SupportedColor=0x2",
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LED's for FRUID=%i", 0),
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LEDs now %i", 2),
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Testing FRUID=%i LEDSize=%i", 1, 0),
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Still more FRUIDs left",
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Going to get Caps for FRUID %i", 2),
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps FRUID=2 LEDID=0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps CC=0x0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps SupportedColor=0x2",
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LED's for FRUID=%i", 2),
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LEDs now %i", 1),
                            Text("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Testing FRUID=%i LEDSize=%i", 3, 0),
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Still more FRUIDs left",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Going to get Caps for FRUID 3",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps FRUID=3 LEDID=0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps CC=0x0",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps SupportedColor=0x2",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LED's for FRUID=3",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Done with LEDs now 1",
                            "ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps No more FRU's with LEDs"));
}

TEST_F(ProbeLEDs, OfFRUsThatHaveNoneLeadStraightToTheFRUReading) {
    BeginWith(2);
    for (int i = 0; i < 3; ++i)
        Reply("00 00 00 00");
    EXPECT_THAT(Requests(), ElementsAre("2C 05 00 00", "2C 05 00 01", "2C 05 00 02", "0A 10 00"))
        << "the properties of a FRU above the maximum are never asked";
    EXPECT_EQ(State(), 6);
}

TEST_F(ProbeLEDs, AlreadyKnownAreAskedForTheirColoursAtOnce) {
    BeginWith(1);
    GiveEntity(1, 2);
    Reply("00 00 01 00");
    Reply("00 00 02 01 01");
    EXPECT_EQ(Requests().back(), "2C 06 00 01 00");
    ExpectInOrder({Trace("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Testing FRUID=%i LEDSize=%i", 1, 2),
                   Trace("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Still more FRUIDs left"),
                   Trace("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps Going to get Caps for FRUID %i", 1)});
}

TEST_F(ProbeLEDs, OfAFRUWithoutAnEntityAreSkipped) {
    BeginWith(2);
    auto& l_Entities = ACCESS::FRUEntities(*m_Probe);
    delete l_Entities.at(0);
    l_Entities.erase(0);
    Reply("00 00 0F 00");
    EXPECT_EQ(Requests().back(), "2C 05 00 01");
    delete l_Entities.at(1);
    l_Entities.erase(1);
    Reply("00 00 0F 00");
    EXPECT_EQ(Requests().back(), "2C 05 00 02");
}

TEST_F(ProbeLEDs, ThatVanishedFromTheirEntityAreTracedAndTheWalkGoesOn) {
    BeginWith(0);
    Reply("00 00 01 00");
    auto& l_LEDs = Entity(0).m_LEDMap;
    delete l_LEDs.at(0);
    l_LEDs.clear();
    Reply("00 00 02 01 01");
    ExpectLogged(Trace("ENTITYCAPTURE :: ReceivedPICMCLEDColorCaps ERROR Didn't find LED ID %i", 0));
    EXPECT_EQ(Requests().back(), "0A 10 00");
}

TEST_F(ProbeLEDs, BeyondTheCountAreRefusedWithoutARequest) {
    BeginWith(0);
    GiveEntity(0, 3);
    for (const int l_LEDID : {3, 4, 255}) {
        m_Log.Clear();
        const std::size_t l_Before = Fake().SentCount();
        EXPECT_NE(m_Probe->SendGetPICMCLEDColorCaps(0, l_LEDID), 0);
        EXPECT_EQ(Fake().SentCount(), l_Before);
        EXPECT_EQ(m_Log.Lines().back(),
                  Trace("ENTITYCAPTURE :: SendGetPICMCLEDColorCaps ERROR LEDID=%i larger than max LED %i", l_LEDID, 3));
        EXPECT_EQ(State(), 4) << "the request code stays";
    }
    EXPECT_EQ(m_Probe->SendGetPICMCLEDColorCaps(0, 2), 0);
    EXPECT_EQ(Requests().back(), "2C 06 00 00 02");
}

TEST_F(ProbeLEDs, OfAFRUThatNobodyKnowsAreRefusedWithACountOfZero) {
    BeginWith(0);
    m_Probe->SendGetPICMCLEDColorCaps(9, 0);
    EXPECT_EQ(m_Log.Lines().back(),
              Trace("ENTITYCAPTURE :: SendGetPICMCLEDColorCaps ERROR LEDID=%i larger than max LED %i", 0, 0));
}

TEST_F(ProbeLEDs, WhoseColoursAreRefusedKeepTheirFlagsClearAndTheNextOneIsAsked) {
    BeginWith(0);
    Reply("00 00 03 00");
    Reply("C1");
    EXPECT_EQ(Requests().back(), "2C 06 00 00 01");
    Reply("00 00 7E 01 01");
    EXPECT_FALSE(Entity(0).m_LEDMap.at(0)->m_bBlue);
    EXPECT_TRUE(Entity(0).m_LEDMap.at(1)->m_bBlue);
    EXPECT_EQ(Requests().back(), "0A 10 00");
}

} // namespace
