// The hardware tables over the simulated inventory, and over what a fully-up domain adds to every FRU.
#include "adaptor/AdaptorTest.h"

#include "fake/process/StdoutCapture.h"
#include "ipmi/IPMI_Thread.h"

#include <latch>
#include <memory>
#include <thread>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

class SimulatedTables : public ADAPTOR_TEST {
protected:
    void ReportFullyUp() {
        STDOUT_CAPTURE l_Dump; // not looked at here
        IPMITHREAD l_Thread(&m_Log, nullptr);
        l_Thread.DomainFullyUp(nullptr, &l_Thread);
    }

    void BuildSimulation() {
        g_bCompleteIPMISimulation = true;
        BuildSimulatedData();
        ReportFullyUp();
    }

    static void SetBays() {
        for (const auto& [l_Address, l_Entity] : g_EntityMap) {
            if (l_Entity->m_EntityID == ENTITY_ID_AMC) l_Entity->m_BayLocation = 1;
            if (l_Entity->m_EntityID == ENTITY_ID_RTM) l_Entity->m_BayLocation = RTM_BAY;
        }
    }
};

TEST_F(SimulatedTables, BoardIsTheSimulatedOne) {
    BuildSimulation();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_BOARD),
                Optional(ElementsAre(TEXTS{"0x30001 s:KZB88120W", "0x30002 i:0", "0x30003 s:Tarsk Corporation",
                                           "0x30004 s:QPLS90377461", "0x30005 s:V3.2a", "0x30007 s:R71302-918",
                                           "0x30006 s:1.2"})));
}

TEST_F(SimulatedTables, RtmHasTheFramerOfTheTestRecord) {
    BuildSimulation();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_RTM_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x401 i:1", "0x402 i:1", "0x403 i:4"})));
}

TEST_F(SimulatedTables, ModulesHaveNoBayAndAreNotFoundByOne) {
    BuildSimulation();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_FRU_TABLE), Optional(IsEmpty()));
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_TABLE), Optional(IsEmpty()));
}

TEST_F(SimulatedTables, AmcWithABayHasTheFourDspsOfTheTestRecord) {
    BuildSimulation();
    SetBays();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x303 i:1 key", "0x302 i:4", "0x301 i:1"})));
}

TEST_F(SimulatedTables, ModulesWithABayShowTheirTexts) {
    BuildSimulation();
    SetBays();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_TABLE),
                Optional(ElementsAre(
                    TEXTS{"0x30202 s:AMC-KZB88120W", "0x30201 i:1 key", "0x30208 i:1", "0x30203 s:Tarsk Corporation",
                          "0x30204 s:AMC-SIMSIMSIM", "0x30205 s:", "0x30207 s:AMC-R71302-918", "0x30206 s:1.2"},
                    TEXTS{"0x30202 s:RTM-KZB88120W", "0x30201 i:9 key", "0x30208 i:1", "0x30203 s:Tarsk Corporation",
                          "0x30204 s:RTM-SIMSIMSIM", "0x30205 s:", "0x30207 s:RTM-R71302-918", "0x30206 s:1.2"})));
}

TEST_F(SimulatedTables, RealAmcWithoutAVendorRecordGainsTheTestRecord) {
    AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU");
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_FRU_TABLE), Optional(IsEmpty()));
    ReportFullyUp();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x303 i:3 key", "0x302 i:4", "0x301 i:1"})));
}

TEST_F(SimulatedTables, OwnVendorRecordsWinOverTheTestRecords) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"), AMCRecord(2, 2));
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, 9), "FRU"), RTMRecord(8, 2, 16));
    ReportFullyUp();
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x303 i:3 key", "0x302 i:2", "0x301 i:2"})));
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_RTM_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x401 i:2", "0x402 i:8", "0x403 i:16"})));
}

TEST_F(SimulatedTables, HostThreadsReadWhileTheDomainThreadAddsEntities) {
    const LOG_LEVEL_GUARD l_TracesOff(0);
    std::latch l_Start(2);
    std::jthread l_Domain([&l_Start] {
        l_Start.arrive_and_wait();
        BuildSimulatedData();
    });
    l_Start.arrive_and_wait();
    for (int l_Result = 12; l_Result != 1;) {
        CBMITable* l_Table = nullptr;
        l_Result = m_Adaptor.GetParamTable(BMI_GROUP_HARDWARE_BOARD, l_Table);
        const std::unique_ptr<CBMITable> l_Owner(l_Table);
        ASSERT_EQ(l_Table->GetSize(), l_Result == 1 ? 1 : 0);
    }
    l_Domain.join();
    EXPECT_EQ(g_EntityMap.size(), 3U);
}

} // namespace
