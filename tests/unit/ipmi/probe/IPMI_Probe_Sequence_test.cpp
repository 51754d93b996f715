// The inventory as a whole: which requests, in which order, for controllers of every size; and what is found.
#include "ProbeFixture.h"

#include <set>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

namespace {

constexpr uint8_t SITE_FRONT_BOARD = 0;
constexpr uint8_t SITE_AMC = 7;
constexpr uint8_t SITE_RTM = 9;

class ProbeSequence : public PROBE_TEST {};

TEST_F(ProbeSequence, OfABoardWithoutOtherFRUsEndsAfterFRU0) {
    ScriptController({{SITE_FRONT_BOARD, 3, 0, {}, AreaOf(64, "board")}});
    Capture();
    EXPECT_THAT(Requests(),
                ElementsAre("2C 00 00", "2C 01 00 00", "06 01", "2C 05 00 00", "0A 10 00", "0A 11 00 00 00 10",
                            "0A 11 00 10 00 10", "0A 11 00 20 00 10", "0A 11 00 30 00 10"));
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(State(), 0);
    ASSERT_EQ(g_EntityMap.size(), 1U);
    ASSERT_TRUE(g_EntityMap.contains({0, 0x20, 160, 0x60}));
    EXPECT_EQ(g_EntityMap[(IPMI_ENTITY_ADDRESS{0, 0x20, 160, 0x60})]->FirstFRU()->m_BoardProductName, "board");
}

// FRU 3 has a mask with a gap, FRU 4 no LEDs, FRU 5 no inventory, FRU 6 is not there, FRU 7 an area that does not
// parse.
const std::vector<SCRIPTED_FRU> g_TypicalCarrier = {
    {SITE_FRONT_BOARD, 4, 0x07, {0x02, 0x04, 0x48}, AreaOf(64, "carrier")},
    {SITE_AMC, 1, 0x03, {0x02, 0x0C}, AreaOf(64, "AMC 1")},
    {SITE_AMC, 2, 0x0F, {0x02, 0x04, 0x08, 0x10}, AreaOf16()},
    {SITE_AMC, 3, 0x05, {}, AreaOf16()},
    {SITE_AMC, 4, 0x00, {}, AreaOf16()},
    {SITE_AMC, 5, 0x01, {0x02}, {}},
    {SITE_AMC, 6, 0x01, {0x02}, {}},
    {SITE_AMC, 7, 0x00, {}, BYTES(16, 0x01)},
    {SITE_AMC, 8, 0x00, {}, AreaOf16()},
    {SITE_RTM, 3, 0x03, {0x02, 0x20}, AreaOf(64, "RTM")},
};

const std::vector<std::string> g_TypicalRequests = {
    "2C 00 00", // properties
    "2C 01 00 00",
    "2C 01 00 01",
    "2C 01 00 02",
    "2C 01 00 03",
    "2C 01 00 04",
    "2C 01 00 05",
    "2C 01 00 06",
    "2C 01 00 07",
    "2C 01 00 08",
    "2C 01 00 09", // address information
    "06 01",       // device id
    "2C 05 00 00",
    "2C 06 00 00 00",
    "2C 06 00 00 01",
    "2C 06 00 00 02",
    "2C 05 00 01",
    "2C 06 00 01 00",
    "2C 06 00 01 01",
    "2C 05 00 02",
    "2C 06 00 02 00",
    "2C 06 00 02 01",
    "2C 06 00 02 02",
    "2C 06 00 02 03",
    "2C 05 00 03",
    "2C 05 00 04",
    "2C 05 00 05",
    "2C 06 00 05 00",
    "2C 05 00 06",
    "2C 06 00 06 00",
    "2C 05 00 07",
    "2C 05 00 08",
    "2C 05 00 09",
    "2C 06 00 09 00",
    "2C 06 00 09 01", // LEDs
    "0A 10 00",
    "0A 11 00 00 00 10",
    "0A 11 00 10 00 10",
    "0A 11 00 20 00 10",
    "0A 11 00 30 00 10",
    "0A 10 01",
    "0A 11 01 00 00 10",
    "0A 11 01 10 00 10",
    "0A 11 01 20 00 10",
    "0A 11 01 30 00 10",
    "0A 10 02",
    "0A 11 02 00 00 10",
    "0A 10 03",
    "0A 11 03 00 00 10",
    "0A 10 04",
    "0A 11 04 00 00 10",
    "0A 10 05",
    "0A 10 06",
    "0A 10 07",
    "0A 11 07 00 00 10",
    "0A 10 08",
    "0A 11 08 00 00 10",
    "0A 10 09",
    "0A 11 09 00 00 10",
    "0A 11 09 10 00 10",
    "0A 11 09 20 00 10",
    "0A 11 09 30 00 10", // FRU data
};

class ProbeTypicalCarrier : public ProbeSequence {
protected:
    ProbeTypicalCarrier() {
        ScriptController(g_TypicalCarrier);
        Fake().OnRequest({0x0A, 0x10, 6}, BYTES{CC_NOT_PRESENT});
        Capture();
    }

    static const IPMI_ENTITY& Entity(int a_EntityID, int a_Instance) {
        return *g_EntityMap.at({0, 0x20, a_EntityID, a_Instance});
    }
};

TEST_F(ProbeTypicalCarrier, IsAskedInThisOrder) {
    EXPECT_THAT(Requests(), ElementsAreArray(g_TypicalRequests));
}

TEST_F(ProbeTypicalCarrier, HasNeverMoreThanOneRequestOutstanding) {
    SetUpAgain();
    ScriptController(g_TypicalCarrier);
    m_Probe->StartCapture();
    std::size_t l_Replies = 0;
    while (Fake().Outstanding() > 0) {
        ASSERT_EQ(Fake().Outstanding(), 1U) << "after " << l_Replies << " replies";
        Fake().DeliverReply();
        ++l_Replies;
    }
    EXPECT_EQ(Fake().SentCount(), l_Replies);
}

TEST_F(ProbeTypicalCarrier, BecomesOneEntityForEachFRU) {
    std::vector<std::string> l_Keys;
    for (const auto& [l_Key, l_Entity] : g_EntityMap) {
        l_Keys.push_back(
            Text("%i.%i.%i.%i", l_Key.m_Channel, l_Key.m_Address, l_Key.m_EntityID, l_Key.m_EntityInstance));
        EXPECT_EQ(l_Entity->m_EntityID, l_Key.m_EntityID);
        EXPECT_EQ(l_Entity->m_EntityInstance, l_Key.m_EntityInstance);
    }
    EXPECT_THAT(l_Keys, ElementsAre("0.32.160.96", "0.32.161.1", "0.32.161.2", "0.32.161.3", "0.32.161.4", "0.32.161.5",
                                    "0.32.161.6", "0.32.161.7", "0.32.161.8", "0.32.162.9"));
}

TEST_F(ProbeTypicalCarrier, EntitiesKnowTheirFRUIdSiteAndIPMBAddress) {
    for (int i = 1; i <= 8; ++i) {
        EXPECT_EQ(Entity(161, i).m_FRUDeviceID, i);
        EXPECT_EQ(Entity(161, i).m_BayLocation, i);
        EXPECT_EQ(Entity(161, i).m_SiteValue, i);
        EXPECT_EQ(Entity(161, i).m_IPMB0Address, 0x70 + 2 * i);
    }
    EXPECT_EQ(Entity(160, 0x60).m_FRUDeviceID, 0);
    EXPECT_EQ(Entity(160, 0x60).m_BayLocation, 4);
    EXPECT_EQ(Entity(162, 9).m_BayLocation, 9) << "the RTM's site id is replaced";
    EXPECT_EQ(Entity(162, 9).m_SiteValue, 9);
    EXPECT_EQ(Entity(162, 9).m_Address, 0x20) << "the key keeps the local address";
}

TEST_F(ProbeTypicalCarrier, EntitiesHaveTheirLEDs) {
    EXPECT_EQ(Entity(160, 0x60).m_LEDMap.size(), 3U);
    const std::vector<std::size_t> l_Expected = {2, 4, 0, 0, 1, 1, 0, 0};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(Entity(161, static_cast<int>(i) + 1).m_LEDMap.size(), l_Expected[i]) << i + 1;
    }
    EXPECT_EQ(Entity(162, 9).m_LEDMap.size(), 2U);
    EXPECT_TRUE(Entity(162, 9).m_LEDMap.at(1)->m_bOrange);
}

TEST_F(ProbeTypicalCarrier, FRUsAreAttachedWhereTheirAreaParsed) {
    EXPECT_EQ(Entity(160, 0x60).FirstFRU()->m_BoardProductName, "carrier");
    EXPECT_EQ(Entity(161, 1).FirstFRU()->m_BoardProductName, "AMC 1");
    EXPECT_EQ(Entity(162, 9).FirstFRU()->m_BoardProductName, "RTM");
    for (const int l_Bay : {2, 3, 4, 8})
        EXPECT_EQ(Entity(161, l_Bay).m_FRUMap.size(), 1U) << l_Bay;
    for (const int l_Bay : {5, 6, 7})
        EXPECT_EQ(Entity(161, l_Bay).m_FRUMap.size(), 0U) << l_Bay;
}

TEST_F(ProbeTypicalCarrier, FRURecordsCarryTheAddressOfTheirEntity) {
    const IPMI_FRU& l_FRU = *Entity(161, 1).FirstFRU();
    EXPECT_EQ(l_FRU.m_Address.m_EntityID, 161);
    EXPECT_EQ(l_FRU.m_Address.m_EntityInstance, 1);
    EXPECT_EQ(l_FRU.m_Address.m_Address, 0x20);
    EXPECT_EQ(Entity(161, 1).m_FRUMap.begin()->first, l_FRU.m_Name) << "entered under its name";
}

TEST_F(ProbeTypicalCarrier, ControllerIsAttachedToTheBoard) {
    ASSERT_EQ(Entity(160, 0x60).m_MCMap.size(), 1U);
    const auto& [l_Name, l_MC] = *Entity(160, 0x60).m_MCMap.begin();
    EXPECT_EQ(l_MC->m_Name, l_Name);
    EXPECT_EQ(l_MC->m_MajorFWRevision, 5);
    EXPECT_EQ(l_MC->m_MinorFWRevision, 0x42);
    EXPECT_EQ(l_MC->m_AuxFWRevision, "1 2 3 4");
    EXPECT_TRUE(Entity(161, 1).m_MCMap.empty());
}

TEST_F(ProbeTypicalCarrier, EndsByTellingTheDomainThreadWithTheMapFilled) {
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(State(), 0);
    ExpectInOrder({Trace("ENTITYCAPTURE :: SendGetFRUSize FRUID=%d", 10),
                   Trace("ENTITYCAPTURE :: SendGetFRUSize FRUID=%d greater than max - stopping collection", 10),
                   Trace("ENTITYCAPTURE :: StopCollection - adding stuff!!!"),
                   Trace("IPMITHREAD :: EntityCaptured - entity map size=%i", 10)});
}

class ProbeManyFRUs : public ProbeSequence, public ::testing::WithParamInterface<int> {};

// 255 FRUs besides the board are what a controller can have: no cursor may wrap from 255 to 0.
TEST_P(ProbeManyFRUs, AreEachAskedOnceAndTheWalkEnds) {
    BM_LOG_LEVEL = 0;
    const int l_Count = GetParam();
    std::vector<SCRIPTED_FRU> l_FRUs{{SITE_FRONT_BOARD, 0, 0x01, {0x02}, AreaOf16()}};
    for (int i = 1; i < l_Count; ++i) {
        l_FRUs.push_back({SITE_AMC, static_cast<uint8_t>(i), static_cast<uint8_t>(i % 2), {0x02}, AreaOf16()});
    }
    ScriptController(l_FRUs);
    Capture();
    const std::vector<std::string> l_Requests = Requests();
    const std::set<std::string> l_Different(l_Requests.begin(), l_Requests.end());
    EXPECT_EQ(l_Different.size(), l_Requests.size()) << "a request was repeated";
    const auto l_N = static_cast<std::size_t>(l_Count);
    // properties, device id; of each FRU address, LEDs, size, one chunk; the colours of FRU 0 and the odd ones
    EXPECT_EQ(l_Requests.size(), 2 + 4 * l_N + 1 + l_N / 2);
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(g_EntityMap.size(), l_N);
}

INSTANTIATE_TEST_SUITE_P(Of, ProbeManyFRUs, ::testing::Values(2, 255, 256));

TEST_F(ProbeSequence, AReplyThatIsLostLeavesTheProbeWaiting) {
    ScriptController({{SITE_FRONT_BOARD, 0, 0, {}, AreaOf16()}});
    Fake().LoseReply({0x06, 0x01});
    Capture();
    EXPECT_FALSE(IsOver());
    EXPECT_EQ(State(), 3);
    EXPECT_EQ(Requests().back(), "06 01");
}

} // namespace
