// What the model tells of one entity: which one is taken, and what is copied of it.
#include "adaptor/hardware/IPMI_HardwareFacts.h"

#include "adaptor/hardware/HardwareTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;

namespace {

using HardwareFacts = HARDWARE_TEST;

TEST_F(HardwareFacts, AreThoseOfTheFirstEntityOfTheIdInMapOrder) {
    g_EntityMap[{0, 0, ENTITY_ID_AMC, 0}] = nullptr;
    AddEntity(ENTITY_ID_RTM, 1, 1);
    AddEntity(ENTITY_ID_AMC, 8, 7);
    AddEntity(ENTITY_ID_AMC, 5, 6);
    ASSERT_TRUE(FindHardware(ENTITY_ID_AMC));
    EXPECT_EQ(FindHardware(ENTITY_ID_AMC)->m_BayLocation, 5);
    EXPECT_FALSE(FindHardware(ENTITY_ID_BASEBOARD));
}

TEST_F(HardwareFacts, AreThoseOfTheBayWhenOneIsGiven) {
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3, 6), "first");
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 5, 7), "other bay");
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3, 8), "second");
    const auto l_Facts = FindHardware(ENTITY_ID_AMC, 3);
    ASSERT_TRUE(l_Facts && l_Facts->m_FRU);
    EXPECT_EQ(l_Facts->m_FRU->m_BoardProductName, "first board product name");
    EXPECT_EQ(FindHardware(ENTITY_ID_AMC, 5)->m_FRU->m_BoardProductName, "other bay board product name");
    EXPECT_FALSE(FindHardware(ENTITY_ID_AMC, 4));
}

TEST_F(HardwareFacts, HoldTheFirstFrusTexts) {
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3), "F");
    const auto l_Facts = FindHardware(ENTITY_ID_AMC, 3);
    ASSERT_TRUE(l_Facts && l_Facts->m_FRU);
    const FRU_FACTS& l_FRU = *l_Facts->m_FRU;
    EXPECT_EQ(l_FRU.m_BoardManufacturer, "F board manufacturer");
    EXPECT_EQ(l_FRU.m_BoardProductName, "F board product name");
    EXPECT_EQ(l_FRU.m_BoardSerialNumber, "F board serial");
    EXPECT_EQ(l_FRU.m_BoardPartNumber, "F board part number");
    EXPECT_EQ(l_FRU.m_ProductSerialNumber, "F product serial");
    EXPECT_EQ(l_FRU.m_ProductVersion, "F product version");
    EXPECT_FALSE(l_FRU.m_AMC);
    EXPECT_FALSE(l_FRU.m_RTM);
    EXPECT_FALSE(l_Facts->m_MC);
}

TEST_F(HardwareFacts, HoldTheFirstController) {
    IPMI_ENTITY& l_AMC = AddEntity(ENTITY_ID_AMC, 3);
    AddMC(l_AMC, "b", 1, 20);
    AddMC(l_AMC, "c", 9, 9);
    l_AMC.m_MCMap["a"] = nullptr;
    const auto l_Facts = FindHardware(ENTITY_ID_AMC, 3);
    ASSERT_TRUE(l_Facts && l_Facts->m_MC);
    EXPECT_EQ(l_Facts->m_MC->m_MajorFWRevision, 1);
    EXPECT_EQ(l_Facts->m_MC->m_MinorFWRevision, 20);
    EXPECT_FALSE(l_Facts->m_FRU);
}

TEST_F(HardwareFacts, HoldBothVendorRecords) {
    IPMI_FRU& l_FRU = AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU");
    AddMultiRecord(l_FRU, RTMRecord(8, 1, 4));
    AddMultiRecord(l_FRU, AMCRecord(2, 5));
    const auto l_Facts = FindHardware(ENTITY_ID_AMC, 3);
    ASSERT_TRUE(l_Facts && l_Facts->m_FRU && l_Facts->m_FRU->m_AMC && l_Facts->m_FRU->m_RTM);
    EXPECT_EQ(l_Facts->m_FRU->m_AMC->m_NumDSPs, 2);
    EXPECT_EQ(l_Facts->m_FRU->m_AMC->m_FirstDSPType, 5);
    EXPECT_FALSE(l_Facts->m_FRU->m_AMC->m_FirstDSP); // the record is too short for it
    EXPECT_EQ(l_Facts->m_FRU->m_RTM->m_FramerType, 1);
    EXPECT_EQ(l_Facts->m_FRU->m_RTM->m_NumFramers, 8);
    EXPECT_EQ(l_Facts->m_FRU->m_RTM->m_TrunksPerFramer, 4);
}

TEST_F(HardwareFacts, AreACopy) {
    IPMI_FRU& l_FRU = AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3), "F");
    const auto l_Facts = FindHardware(ENTITY_ID_AMC, 3);
    l_FRU.m_BoardProductName = "changed";
    EXPECT_EQ(l_Facts->m_FRU->m_BoardProductName, "F board product name");
}

} // namespace
