// The adaptor's LED operations: each group reaches its own read, table and write, each look-up its own.
#include "adaptor/leds/LedTest.h"

#include <memory>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;

namespace {

using VALUES_OF_KEYS = std::vector<std::pair<unsigned, int32_t>>;

struct LED_GROUP {
    const char* m_Name;
    BMIGroup_e m_Group;
    VALUES_OF_KEYS m_Keys; ///< of LED 2, of bay 3's AMC or of the board
    const char* m_ReadEntry;
    TEXTS m_Begin; ///< of its row: its keys and the first values
};

void PrintTo(const LED_GROUP& a_Group, std::ostream* a_Stream) {
    *a_Stream << a_Group.m_Name;
}

const LED_GROUP g_LedGroups[] = {
    {"BaseboardInternal",
     BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL,
     {{0x101, 2}},
     "IPMIAdaptor :: Baseboard_LED_Internal_ReadParams (",
     {"0x101 i:2 key", "0x105 i:1"}},
    {"Baseboard",
     BMI_GROUP_BM_IPMI_BASEBOARD_LED,
     {{0x30101, 2}},
     "IPMIAdaptor :: Baseboard_LED_ReadParams (",
     {"0x30101 i:2 key", "0x30102 i:3", "0x30103 i:1"}},
    {"AmcInternal",
     BMI_GROUP_HARDWARE_AMC_LED_INTERNAL,
     {{0x201, 2}, {0x20D, 3}},
     "IPMIAdaptor :: AMC_LED_Internal_ReadParams (",
     {"0x201 i:2 key", "0x20d i:3 key", "0x205 i:1"}},
    {"Amc",
     BMI_GROUP_HARDWARE_AMC_LED_TABLE,
     {{0x30302, 2}, {0x30301, 3}},
     "IPMIAdaptor :: AMC_LED_ReadParams (",
     {"0x30302 i:2 key", "0x30301 i:3 key", "0x30303 i:3", "0x30304 i:1"}},
};

/// A board and the AMC of bay 3 with three green LEDs each.
class AdaptorLeds : public LED_TEST {
protected:
    AdaptorLeds() {
        AddBoard();
        AddAMC(3);
        Fake().OnRequest({0x2C, 0x08}, LOCAL_GREEN);
        TakeSets();
    }

    /// Green and on, by the keys' kind of values.
    int Write(unsigned a_Group, const VALUES_OF_KEYS& a_Keys, unsigned a_Base) {
        CBMIKeys l_Keys = Integers<CBMIKeys>(a_Keys);
        CBMIParams l_Values =
            Integers<CBMIParams>({{a_Base + 0x0C, 3}, {a_Base + 2, 1}, {a_Base + 3, 0}, {a_Base + 5, 1}});
        return m_Adaptor.WriteParams(a_Group, &l_Keys, &l_Values);
    }
};

class AdaptorLedGroup : public AdaptorLeds, public testing::WithParamInterface<LED_GROUP> {};

TEST_P(AdaptorLedGroup, IsReadByItsOwnKeysIntoItsOwnRow) {
    const CBMIKeys l_Keys = Integers<CBMIKeys>(GetParam().m_Keys);
    CBMIParams* l_Made = nullptr;
    EXPECT_EQ(m_Adaptor.ReadParams(GetParam().m_Group, &l_Keys, l_Made), 1);
    const std::unique_ptr<CBMIParams> l_Row(l_Made);
    ASSERT_NE(l_Row, nullptr);
    TEXTS l_Texts = TextsOf(*l_Row);
    l_Texts.resize(GetParam().m_Begin.size());
    EXPECT_EQ(l_Texts, GetParam().m_Begin);
    EXPECT_THAT(m_Log.Texts(GetParam().m_ReadEntry), testing::SizeIs(1));
}

TEST_P(AdaptorLedGroup, HasATableOfItsOwnRows) {
    const auto l_Table = Table(GetParam().m_Group);
    ASSERT_TRUE(l_Table);
    ASSERT_EQ(l_Table->size(), 3U);
    TEXTS l_Texts = l_Table->at(1);
    l_Texts.resize(GetParam().m_Begin.size());
    EXPECT_EQ(l_Texts, GetParam().m_Begin);
}

// The host-facing group of the baseboard is served by the AMC's handler, which tells them apart by their keys.
TEST_P(AdaptorLedGroup, IsWrittenByKeysOfTheInternalRows) {
    const bool l_OwnHandler = GetParam().m_Group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL;
    EXPECT_EQ(Write(GetParam().m_Group, {{0x101, 2}}, 0x100), 0);
    EXPECT_THAT(Sets(), ElementsAre(BYTES{0, 1, 0xFF, 0, 3}));
    EXPECT_EQ(m_Log.Texts("IPMIAdaptor :: AMC_LED_WriteParams (threadid=").size(), l_OwnHandler ? 0U : 1U);
    EXPECT_EQ(Write(GetParam().m_Group, {{0x201, 3}, {0x20D, 3}}, 0x200), l_OwnHandler ? 12 : 0);
    const std::vector<BYTES> l_OfBoth = {{0, 1, 0xFF, 0, 3}, {3, 2, 0xFF, 0, 3}};
    EXPECT_EQ(Sets(), std::vector<BYTES>(l_OfBoth.begin(), l_OfBoth.end() - (l_OwnHandler ? 1 : 0)));
}

INSTANTIATE_TEST_SUITE_P(Groups, AdaptorLedGroup, testing::ValuesIn(g_LedGroups),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

TEST_F(AdaptorLeds, AWriteToAHostFacingGroupIsAnnouncedAsOneToTheAmcTable) {
    for (const unsigned l_Group : {0x30100U, 0x30300U}) {
        Lines();
        EXPECT_EQ(Write(l_Group, {{0x101, 2}}, 0x100), 0);
        EXPECT_EQ(Lines().at(0), BmiTrace("IPMIAdaptor::WriteParams() on BMI_GROUP_HARDWARE_AMC_LED_TABLE, calling "
                                          "AMC_LED_WriteParams()"));
    }
}

TEST_F(AdaptorLeds, LookUpsAreThoseOfTheLedRoom) {
    IPMI_ENTITY& l_AMC = AddAMC(4);
    AddLight(l_AMC, "led 1");
    EXPECT_EQ(m_Adaptor.FindEntitybyEntityID(ENTITY_ID_BASEBOARD)->m_EntityID, ENTITY_ID_BASEBOARD);
    EXPECT_EQ(m_Adaptor.FindEntitybyEntityIDBayLocation(ENTITY_ID_AMC, 4), &l_AMC);
    EXPECT_EQ(m_Adaptor.FindEntitybyEntityIDBayLocation(ENTITY_ID_RTM, 4), nullptr);
    EXPECT_EQ(m_Adaptor.FindControlbyLEDID(&l_AMC, 2), l_AMC.m_ControlMap.begin()->second);
    EXPECT_EQ(m_Adaptor.FindLEDbyLEDID(&l_AMC, 2), l_AMC.m_LEDMap[2]);
}

} // namespace
