// Look-ups in the model: entities by id and bay, light controls by their names, LED records.
#include "adaptor/leds/LedTest.h"

#include "adaptor/leds/IPMI_LEDLookup.h"

#include <limits>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LedLookup : public LED_ROOM_TEST {
protected:
    LED_LOOKUP m_Lookup{m_Frame};
};

std::string ByBay(const std::string& a_Text) {
    return "IPMIAdaptor :: FindEntitybyEntityIDBayLocation " + a_Text;
}

TEST_F(LedLookup, FirstEntityOfAnIdInMapOrder) {
    AddEntity(ENTITY_ID_AMC, 2, 7, 0x30);
    IPMI_ENTITY& l_First = AddEntity(ENTITY_ID_AMC, 5, 9, 0x20);
    g_EntityMap[{0, 0, ENTITY_ID_AMC, 0}] = nullptr;
    EXPECT_EQ(LED_LOOKUP::Entity(ENTITY_ID_AMC), &l_First);
    EXPECT_EQ(LED_LOOKUP::Entity(ENTITY_ID_BASEBOARD), nullptr);
}

TEST_F(LedLookup, EntityOfABayIsSearchedInMapOrderAndTracesEachStep) {
    AddEntity(ENTITY_ID_BASEBOARD, 3, 96);
    IPMI_ENTITY& l_Found = AddEntity(ENTITY_ID_AMC, 3, 1);
    AddEntity(ENTITY_ID_AMC, 3, 2);
    EXPECT_EQ(m_Lookup.EntityOfBay(ENTITY_ID_AMC, 3), &l_Found);
    EXPECT_THAT(Lines(), ElementsAre(Trace(ByBay("input ID=161 loc=3")), Trace(ByBay("comparing id=160 loc=3")),
                                     Trace(ByBay("comparing id=161 loc=3")), Trace(ByBay("id=161 loc=3 - FOUND"))));
}

TEST_F(LedLookup, EntityOfABayThatIsEmptyIsNotFound) {
    AddEntity(ENTITY_ID_AMC, 3, 1);
    EXPECT_EQ(m_Lookup.EntityOfBay(ENTITY_ID_AMC, 4), nullptr);
    EXPECT_THAT(Lines(), ElementsAre(Trace(ByBay("input ID=161 loc=4")), Trace(ByBay("comparing id=161 loc=3")),
                                     Trace(ByBay("id=161 loc=4 - NOT FOUND"))));
}

TEST_F(LedLookup, EntryWithoutAnEntityIsReportedAndPassed) {
    g_EntityMap[{0, 0, 0, 0}] = nullptr;
    IPMI_ENTITY& l_Found = AddEntity(ENTITY_ID_RTM, 9, 1);
    EXPECT_EQ(m_Lookup.EntityOfBay(ENTITY_ID_RTM, 9), &l_Found);
    EXPECT_THAT(Lines(), ElementsAre(Trace(ByBay("input ID=162 loc=9")), Error(ByBay("ERROR entity map corrupt")),
                                     Trace(ByBay("comparing id=162 loc=9")), Trace(ByBay("id=162 loc=9 - FOUND"))));
}

TEST_F(LedLookup, ControlOfAnLedIsFoundByItsName) {
    IPMI_ENTITY& l_Entity = AddAMC(2);
    for (const char* l_Light : {"blue led", "cold reset", "led 1", "led 2", "led 3"})
        AddLight(l_Entity, l_Light);
    const std::pair<int, const char*> l_Lights[] = {{1, "blue led"}, {2, "led 1"}, {3, "led 2"}};
    for (const auto& [l_LEDID, l_Light] : l_Lights) {
        const IPMI_CONTROL* l_Control = m_Lookup.Control(&l_Entity, l_LEDID);
        ASSERT_NE(l_Control, nullptr);
        EXPECT_EQ(l_Control->m_Name, std::string("(r0.32.161.0).") + l_Light);
    }
}

TEST_F(LedLookup, ControlsAreComparedInOrderUnderTheBaseboardsName) {
    IPMI_ENTITY& l_Entity = AddAMC(2);
    AddLight(l_Entity, "blue led");
    l_Entity.m_ControlMap["(a null one)"] = nullptr;
    AddLight(l_Entity, "led 1");
    Lines();
    m_Lookup.Control(&l_Entity, 2);
    const LOG_LINE l_Searching =
        Trace("IPMIAdaptor::Baseboard_LED_ReadParams searching for (r0.32.161.0).led 1 target=2");
    EXPECT_THAT(Lines(),
                ElementsAre(l_Searching, l_Searching,
                            Trace("IPMIAdaptor::Baseboard_LED_ReadParams searching for (r0.32.161.0).led 1 - FOUND")));
}

TEST_F(LedLookup, ControlsNameCarriesItsOwnAddressNotTheEntitys) {
    IPMI_ENTITY& l_Entity = AddAMC(2);
    AddLight(l_Entity, "led 1");
    IPMI_CONTROL* l_Control = l_Entity.m_ControlMap.begin()->second;
    l_Control->m_Address = 142;
    EXPECT_EQ(m_Lookup.Control(&l_Entity, 2), nullptr);
    l_Control->m_Name = "(r0.142.161.0).led 1";
    EXPECT_EQ(m_Lookup.Control(&l_Entity, 2), l_Control);
}

TEST_F(LedLookup, OtherLedIdsHaveNoControl) {
    IPMI_ENTITY& l_Entity = AddAMC(2);
    for (const char* l_Light : {"blue led", "led 1", "led 2", "led 3", ""})
        AddLight(l_Entity, l_Light);
    for (const int l_LEDID : {0, 4, 5, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(m_Lookup.Control(&l_Entity, l_LEDID), nullptr) << l_LEDID;
    EXPECT_EQ(m_Lookup.Control(nullptr, 1), nullptr);
    EXPECT_EQ(m_Lookup.Control(&AddAMC(3), 1), nullptr) << "an entity without controls";
}

TEST_F(LedLookup, LedRecordIsFoundByItsPicmgId) {
    IPMI_ENTITY& l_Entity = AddAMC(2);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(LED_LOOKUP::LED(&l_Entity, i), l_Entity.m_LEDMap[i]);
    for (const int l_LEDID : {-1, 3, std::numeric_limits<int>::min()})
        EXPECT_EQ(LED_LOOKUP::LED(&l_Entity, l_LEDID), nullptr);
    EXPECT_EQ(LED_LOOKUP::LED(nullptr, 0), nullptr);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LedLookup, TargetHoldsACopyOfTheControlAndTheLedOneBelow) {
    IPMI_ENTITY& l_Entity = AddWithLEDs(ENTITY_ID_AMC, 2, 7);
    AddLight(l_Entity, "led 1");
    const LED_TARGET l_Target = m_Lookup.Target(l_Entity, 2);
    ASSERT_TRUE(l_Target.m_Control);
    EXPECT_EQ(l_Target.m_Control->m_Name, "(r0.32.161.0).led 1");
    EXPECT_EQ(l_Target.m_LED, l_Entity.m_LEDMap[1]);
    EXPECT_EQ(l_Target.m_FRUDeviceID, 7);
    EXPECT_EQ(l_Target.m_HostLEDID, 2);
    EXPECT_EQ(l_Target.m_PICMGLEDID, 1);
}

TEST_F(LedLookup, TargetOfAnLedThatIsNotThereHasNeither) {
    IPMI_ENTITY& l_Entity = AddAMC(2);
    for (const int l_LEDID : {4, 0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        const LED_TARGET l_Target = m_Lookup.Target(l_Entity, l_LEDID);
        EXPECT_FALSE(l_Target.m_Control) << l_LEDID;
        EXPECT_EQ(l_Target.m_LED, nullptr) << l_LEDID;
        EXPECT_EQ(l_Target.m_HostLEDID, l_LEDID);
    }
}

} // namespace
