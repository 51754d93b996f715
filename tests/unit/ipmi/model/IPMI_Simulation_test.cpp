// The simulated inventory: three entities with their controls, FRU texts and controllers.
#include "ipmi/model/IPMI_Simulation.h"

#include "ipmi/domain/ThreadTest.h"

using namespace BM_ADAPTOR;

namespace {

class SimulatedInventory : public THREAD_TEST {};

struct EXPECTED_ENTITY {
    IPMI_ENTITY_ADDRESS m_Address;
    const char* m_Name;
    const char* m_ControlPrefix;
    TEXTS m_Texts; // manufacturer, product name, serial, part; manufacturer, name, serial, part/model, version
};

const EXPECTED_ENTITY g_AMC = {{0, 1, 161, 96},
                               "SIMULATION-AMC",
                               "(r0.1.161.0).",
                               {"Tarsk Corporation", "AMC-KZB88120W", "AMC-SIMSIMSIM", "AMC-R71302-918",
                                "Tarsk Corporation", "AMC-KZB88120W", "AMC-QPLS90377461", "AMC-KZB88120W", ""}};
const EXPECTED_ENTITY g_RTM = {{0, 9, 162, 96},
                               "SIMULATION-AMC",
                               "(r0.9.162.0).",
                               {"Tarsk Corporation", "RTM-KZB88120W", "RTM-SIMSIMSIM", "RTM-R71302-918",
                                "Tarsk Corporation", "RTM-KZB88120W", "RTM-QPLS90377461", "RTM-KZB88120W", ""}};
const EXPECTED_ENTITY g_Baseboard = {{0, 142, 160, 96},
                                     "SIMULATION",
                                     "(r0.142.160.0).",
                                     {"Tarsk Corporation", "KZB88120W", "SIMSIMSIM", "R71302-918", "Tarsk Corporation",
                                      "KZB88120W", "QPLS90377461", "KZB88120W", "V3.2a"}};

TEXTS TextsOf(const IPMI_FRU& a_FRU) {
    return {a_FRU.m_BoardManufacturer,   a_FRU.m_BoardProductName,       a_FRU.m_BoardSerialNumber,
            a_FRU.m_BoardPartNumber,     a_FRU.m_ProductManufacturer,    a_FRU.m_ProductName,
            a_FRU.m_ProductSerialNumber, a_FRU.m_ProductPartModelNumber, a_FRU.m_ProductVersion};
}

void ExpectSame(const IPMI_ENTITY_ADDRESS& a_Left, const IPMI_ENTITY_ADDRESS& a_Right) {
    EXPECT_FALSE(a_Left < a_Right || a_Right < a_Left);
}

void ExpectControls(const IPMI_ENTITY& a_Entity, const EXPECTED_ENTITY& a_Expected) {
    const std::pair<const char*, int> l_Controls[] = {
        {"address", 8}, {"blue led", 1}, {"cold reset", 9}, {"led 1", 1}, {"led 2", 1}};
    ASSERT_EQ(a_Entity.m_ControlMap.size(), std::size(l_Controls));
    for (const auto& [l_Name, l_Type] : l_Controls) {
        const std::string l_FullName = std::string(a_Expected.m_ControlPrefix) + l_Name;
        ASSERT_TRUE(a_Entity.m_ControlMap.contains(l_FullName)) << l_FullName;
        const IPMI_CONTROL& l_Control = *a_Entity.m_ControlMap.at(l_FullName);
        EXPECT_EQ(l_Control.m_Name, l_FullName);
        EXPECT_EQ(l_Control.m_Type, l_Type) << l_FullName;
        ExpectSame({l_Control.m_Channel, l_Control.m_Address, l_Control.m_EntityID, l_Control.m_EntityInstance},
                   a_Expected.m_Address);
        EXPECT_EQ(l_Control.m_ControlID.mcid.domain_id.domain, nullptr) << "no control stands behind " << l_FullName;
    }
}

void ExpectSimulated(const EXPECTED_ENTITY& a_Expected) {
    ASSERT_TRUE(g_EntityMap.contains(a_Expected.m_Address));
    const IPMI_ENTITY& l_Entity = *g_EntityMap.at(a_Expected.m_Address);
    EXPECT_EQ(l_Entity.m_Name, a_Expected.m_Name);
    ExpectSame(l_Entity.Address(), a_Expected.m_Address);
    ExpectControls(l_Entity, a_Expected);
    ASSERT_EQ(l_Entity.m_FRUMap.size(), 1U);
    ExpectSame(l_Entity.FirstFRU()->m_Address, a_Expected.m_Address);
    EXPECT_EQ(TextsOf(*l_Entity.FirstFRU()), a_Expected.m_Texts);
    EXPECT_TRUE(l_Entity.FirstFRU()->m_MultiRecords.empty());
    ASSERT_EQ(l_Entity.m_MCMap.size(), 1U);
    EXPECT_EQ(l_Entity.FirstMC()->m_Name, l_Entity.m_Name);
    EXPECT_EQ(l_Entity.FirstMC()->m_MajorFWRevision, 1);
    EXPECT_EQ(l_Entity.FirstMC()->m_MinorFWRevision, 2);
    EXPECT_EQ(l_Entity.FirstMC()->m_AuxFWRevision, "1 2 3");
    EXPECT_TRUE(l_Entity.m_LEDMap.empty());
    EXPECT_TRUE(l_Entity.m_SensorMap.empty());
}

TEST_F(SimulatedInventory, BuildsTheBaseboardTheAmcAndTheRtm) {
    EXPECT_EQ(BuildSimulatedData(), 0);
    EXPECT_EQ(g_EntityMap.size(), 3U);
    ExpectSimulated(g_Baseboard);
    ExpectSimulated(g_AMC);
    ExpectSimulated(g_RTM);
}

TEST_F(SimulatedInventory, StandsInTheMapAsAmcRtmBaseboard) {
    BuildSimulatedData();
    std::vector<int> l_EntityIDs;
    for (const auto& [l_Address, l_Entity] : g_EntityMap)
        l_EntityIDs.push_back(l_Entity->m_EntityID);
    EXPECT_EQ(l_EntityIDs, (std::vector<int>{161, 162, 160}));
}

TEST_F(SimulatedInventory, AddsTheAmcAlone) {
    AddAMCEntity();
    EXPECT_EQ(g_EntityMap.size(), 1U);
    ExpectSimulated(g_AMC);
}

TEST_F(SimulatedInventory, AddsTheRtmAlone) {
    AddRTMEntity();
    EXPECT_EQ(g_EntityMap.size(), 1U);
    ExpectSimulated(g_RTM);
}

TEST_F(SimulatedInventory, ReplacesWhatIsThereAndKeepsItForThoseWhoStillReadIt) {
    BuildSimulatedData();
    const auto l_Before = g_EntityMap;
    BuildSimulatedData();
    EXPECT_EQ(g_EntityMap.size(), 3U);
    for (const auto& [l_Address, l_Old] : l_Before) {
        EXPECT_NE(g_EntityMap.at(l_Address), l_Old);
        EXPECT_EQ(l_Old->m_ControlMap.size(), 5U);
        delete l_Old;
    }
}

TEST_F(SimulatedInventory, FillsANullEntry) {
    g_EntityMap[g_Baseboard.m_Address] = nullptr;
    BuildSimulatedData();
    ExpectSimulated(g_Baseboard);
}

} // namespace
