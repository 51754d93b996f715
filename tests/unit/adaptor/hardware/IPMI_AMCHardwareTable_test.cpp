// The AMC hardware table: FRU texts, controller and run status of the AMCs and, at bay 9, of the RTM.
#include "adaptor/hardware/IPMI_AMCHardwareTable.h"

#include "adaptor/hardware/HardwareTest.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <latch>
#include <thread>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

constexpr const char* NO_KEYS = "IPMIAdaptor :: AMC_HW_ReadParams - pKeys=NULL";
constexpr const char* HW_NO_BAY =
    "IPMIAdaptor :: AMC_HW_ReadParams - l_BayLocationParam=NULL no bay location passed in";
constexpr const char* FOR_AMC = "IPMIAdaptor :: AMC_HW_ReadParams - searching for AMC";
constexpr const char* FOR_RTM = "IPMIAdaptor :: AMC_HW_ReadParams - searching for RTM";
constexpr const char* FOUND = "IPMIAdaptor :: AMC_HW_ReadParams - found target entity ID";
constexpr const char* HW_NOT_FOUND = "IPMIAdaptor :: AMC_HW_ReadParams - returning not found";
constexpr const char* HW_NO_FRU = "IPMIAdaptor :: AMC_HW_ReadParams - FRU data missing - internal error ";
constexpr const char* HW_NO_MC = "IPMIAdaptor :: AMC_HW_ReadParams - NO MC FOR AMC - HACK";
constexpr const char* HW_RETURNING_OK = "IPMIAdaptor :: AMC_HW_ReadParams - returning OK";
constexpr const char* WRITE_NO_BAY =
    "IPMIAdaptor :: AMC_HW_WriteParams - No Key bay location returning not found error";
constexpr const char* WRITE_NO_STATUS = "IPMIAdaptor :: AMC_HW_WriteParams -Run Status not passed in row";
constexpr const char* WRITE_OK = "IPMIAdaptor :: AMC_HW_WriteParams -returning OK";

std::string Slot(int a_Bay) {
    return "IPMIAdaptor :: AMC_HW_ReadParams - Slot location=" + std::to_string(a_Bay);
}

std::string NoStatus(int a_Bay) {
    return "IPMIAdaptor :: AMC_HW_ReadParams -No Existing Run Status slot=" + std::to_string(a_Bay);
}

TEXTS RowOf(const std::string& a_FRU, int a_Bay, int a_RunStatus, const std::string& a_Firmware) {
    return {"0x30202 s:" + a_FRU + " board product name", "0x30201 i:" + std::to_string(a_Bay) + " key",
            "0x30208 i:" + std::to_string(a_RunStatus),   "0x30203 s:" + a_FRU + " board manufacturer",
            "0x30204 s:" + a_FRU + " board serial",       "0x30205 s:" + a_FRU + " product version",
            "0x30207 s:" + a_FRU + " board part number",  "0x30206 s:" + a_Firmware};
}

class AmcHw : public HARDWARE_TEST {
protected:
    int Read(int a_Bay) {
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, a_Bay);
        return m_Table.ReadParams(&l_Keys, &m_Row);
    }

    int Write(int a_Bay, int a_RunStatus) {
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, a_Bay);
        const CBMIParams l_Row = KeyOf(BMI_HW_AMC_RUN_STATUS, a_RunStatus);
        return m_Table.WriteParams(&l_Keys, &l_Row, m_Events);
    }

    static IPMI_ENTITY& AddModule(int a_EntityID, int a_Bay, const std::string& a_FRU) {
        IPMI_ENTITY& l_Entity = AddEntity(a_EntityID, a_Bay, a_Bay);
        AddFRUWithTexts(l_Entity, a_FRU);
        return l_Entity;
    }

    std::atomic<IBMAdaptorMgr*> m_Host = &m_Manager;
    HOST_EVENTS m_Events{m_Host};
    const AMC_HARDWARE_TABLE m_Table{m_Frame};
};

// ---- one row

TEST_F(AmcHw, RowHoldsFruTextsBayRunStatusAndFirmwareInOrder) {
    AddMC(AddModule(ENTITY_ID_AMC, 3, "A"), "MC", 1, 20);
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("A", 3, 1, "1.20"));
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(FOR_AMC), Trace(Slot(3)), Trace(FOUND), Trace(NoStatus(3)), Trace(HW_RETURNING_OK)));
}

TEST_F(AmcHw, WithoutAControllerTheFirmwareIsUnknown) {
    AddModule(ENTITY_ID_AMC, 3, "A").m_MCMap["null"] = nullptr;
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("A", 3, 1, "UnKn"));
    EXPECT_THAT(Lines(), ElementsAre(Trace(FOR_AMC), Trace(Slot(3)), Trace(FOUND), Trace(NoStatus(3)), Trace(HW_NO_MC),
                                     Trace(HW_RETURNING_OK)));
}

TEST_F(AmcHw, Bay9IsTheRtm) {
    AddModule(ENTITY_ID_AMC, 9, "A");
    AddMC(AddModule(ENTITY_ID_RTM, 9, "R"), "MC", 3, 4);
    EXPECT_EQ(Read(9), 1);
    EXPECT_EQ(Row(), RowOf("R", 9, 1, "3.4"));
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(FOR_RTM), Trace(Slot(9)), Trace(FOUND), Trace(NoStatus(9)), Trace(HW_RETURNING_OK)));
}

TEST_F(AmcHw, RtmIsFoundAtBay9Only) {
    AddModule(ENTITY_ID_RTM, 2, "R");
    for (const int l_Bay : {2, 9})
        EXPECT_EQ(Read(l_Bay), 12);
}

TEST_F(AmcHw, AnyOtherBayIsAnAmcs) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    for (const int l_Bay : {-1, 0, 1, 2, 4, 8, 10}) {
        EXPECT_EQ(Read(l_Bay), 12) << l_Bay;
        EXPECT_THAT(Row(), IsEmpty());
        EXPECT_THAT(Lines(), ElementsAre(Trace(FOR_AMC), Trace(Slot(l_Bay)), Error(HW_NOT_FOUND)));
    }
}

TEST_F(AmcHw, WithoutAFruRecordItIsAnInternalError) {
    AddEntity(ENTITY_ID_AMC, 3).m_FRUMap["null"] = nullptr;
    EXPECT_EQ(Read(3), 12);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(Trace(FOR_AMC), Trace(Slot(3)), Trace(FOUND), Error(HW_NO_FRU)));
}

TEST_F(AmcHw, NullKeysAnswerNotFound) {
    EXPECT_EQ(m_Table.ReadParams(nullptr, &m_Row), 12);
    EXPECT_THAT(Lines(), ElementsAre(Error(NO_KEYS)));
}

TEST_F(AmcHw, WithoutABayItAnswersNotFound) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    const CBMIKeys l_Empty;
    const CBMIKeys l_Other = KeyOf(BMI_HW_AMC_FRU_BAY, 3);
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_BAY, "3");
    for (const CBMIKeys* l_Keys : {&l_Empty, &l_Other, &l_Text}) {
        EXPECT_EQ(m_Table.ReadParams(l_Keys, &m_Row), 12);
        EXPECT_THAT(Row(), IsEmpty());
        EXPECT_THAT(Lines(), ElementsAre(Error(HW_NO_BAY)));
    }
}

TEST_F(AmcHw, BothIntegerTypesAreTakenAsBay) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3, BMI_PARAM_UINT);
    EXPECT_EQ(m_Table.ReadParams(&l_Keys, &m_Row), 1);
}

TEST_F(AmcHw, NullRowAnswersNotFound) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    EXPECT_EQ(m_Table.ReadParams(&l_Keys, nullptr), 12);
}

TEST_F(AmcHw, FirstFruAndControllerAreTheFirstByNameThatAreNotNull) {
    IPMI_ENTITY& l_AMC = AddModule(ENTITY_ID_AMC, 3, "Z");
    AddFRUWithTexts(l_AMC, "B");
    l_AMC.m_FRUMap["A"] = nullptr;
    AddMC(l_AMC, "z", 9, 9);
    AddMC(l_AMC, "b", 1, 2);
    l_AMC.m_MCMap["a"] = nullptr;
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("B", 3, 1, "1.2"));
}

TEST_F(AmcHw, FirstEntityOfTheBayInMapOrderIsTakenAndNullEntitiesAreSkipped) {
    g_EntityMap[{0, 0, ENTITY_ID_AMC, 0}] = nullptr;
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3, 7), "seventh");
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3, 6), "sixth");
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("sixth", 3, 1, "UnKn"));
}

TEST_F(AmcHw, OutsideTheStartedStateItLogsAndCarriesOn) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    BeInState(1);
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("A", 3, 1, "UnKn"));
    EXPECT_EQ(Lines().front(), Error("IPMIAdaptor :: AMC_HW_ReadParams -- In bad state 1"));
}

// ---- the table

TEST_F(AmcHw, TableHoldsTheAmcsOfBays1To8AndTheRtmLast) {
    AddModule(ENTITY_ID_RTM, 9, "R");
    AddModule(ENTITY_ID_AMC, 8, "H");
    AddMC(AddModule(ENTITY_ID_AMC, 1, "A"), "MC", 1, 2);
    AddModule(ENTITY_ID_AMC, 10, "X");
    AddEntity(ENTITY_ID_AMC, 5, 5); // without a FRU record: dropped
    EXPECT_THAT(TableOf(m_Table),
                Optional(ElementsAre(RowOf("A", 1, 1, "1.2"), RowOf("H", 8, 1, "UnKn"), RowOf("R", 9, 1, "UnKn"))));
}

TEST_F(AmcHw, TableLogsEveryBay) {
    AddModule(ENTITY_ID_AMC, 2, "A");
    TableOf(m_Table);
    std::vector<LOG_LINE> l_Expected;
    for (int l_Bay = 1; l_Bay <= 9; ++l_Bay) {
        l_Expected.push_back(
            Trace("IPMIAdaptor :: AMC_HW_ReadTable -- looking for AMC in Bay  " + std::to_string(l_Bay)));
        l_Expected.push_back(Trace(l_Bay == 9 ? FOR_RTM : FOR_AMC));
        l_Expected.push_back(Trace(Slot(l_Bay)));
        if (l_Bay == 2) {
            for (const std::string& l_Text :
                 {std::string(FOUND), NoStatus(2), std::string(HW_NO_MC), std::string(HW_RETURNING_OK)})
                l_Expected.push_back(Trace(l_Text));
        } else {
            l_Expected.push_back(Error(HW_NOT_FOUND));
        }
    }
    EXPECT_EQ(Lines(), l_Expected);
}

TEST_F(AmcHw, TableWithoutModulesIsEmptyAndSuccess) {
    EXPECT_THAT(TableOf(m_Table), Optional(IsEmpty()));
}

TEST_F(AmcHw, TableOutsideTheStartedStateLogsItForItselfAndForEveryRow) {
    BeInState(0);
    TableOf(m_Table);
    const std::vector<LOG_LINE> l_Lines = Lines();
    EXPECT_EQ(l_Lines.front(), Error("IPMIAdaptor :: AMC_HW_ReadTable -- In bad state 0"));
    EXPECT_EQ(std::ranges::count(l_Lines, Error("IPMIAdaptor :: AMC_HW_ReadParams -- In bad state 0")), 9);
}

// ---- the run status

using RunStatus = AmcHw;

TEST_F(RunStatus, FirstWriteOfABayInsertsItAndRaisesTheEvent) {
    EXPECT_EQ(Write(3, 4), 1);
    EXPECT_THAT(Lines(),
                ElementsAre(Trace("IPMIAdaptor :: AMC_HW_WriteParams -No existing Run Status Inserting rs=4 slot=3"),
                            Trace(WRITE_OK)));
    const auto l_Events = m_Manager.Events();
    ASSERT_EQ(l_Events.size(), 1U);
    EXPECT_EQ(l_Events[0].m_Event, 0x70402U);
    EXPECT_EQ(l_Events[0].m_Number, 5U);
    EXPECT_THAT(TextsOf(l_Events[0].m_Params), ElementsAre("0x30208 i:4", "0x30201 i:3 key"));
}

TEST_F(RunStatus, LaterWriteChangesItAndRaisesTheEventAgain) {
    EXPECT_EQ(Write(3, 4), 1);
    Lines();
    EXPECT_EQ(Write(3, 5), 1);
    EXPECT_THAT(Lines(),
                ElementsAre(Trace("IPMIAdaptor :: AMC_HW_WriteParams -Existing Run Status Changing rs=5 slot=3"),
                            Trace(WRITE_OK)));
    ASSERT_EQ(m_Manager.Events().size(), 2U);
    EXPECT_THAT(TextsOf(m_Manager.Events()[1].m_Params), ElementsAre("0x30208 i:5", "0x30201 i:3 key"));
}

TEST_F(RunStatus, IsReadBackForItsBay) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    AddModule(ENTITY_ID_AMC, 4, "B");
    Write(3, 5);
    Lines();
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("A", 3, 5, "UnKn"));
    EXPECT_THAT(Lines(), ElementsAre(Trace(FOR_AMC), Trace(Slot(3)), Trace(FOUND),
                                     Trace("IPMIAdaptor :: AMC_HW_ReadParams -Existing Run Status slot=3"),
                                     Trace("IPMIAdaptor :: AMC_HW_ReadParams -Existing Run Status rs=5 slot=3"),
                                     Trace(HW_NO_MC), Trace(HW_RETURNING_OK)));
    EXPECT_THAT(TableOf(m_Table), Optional(ElementsAre(RowOf("A", 3, 5, "UnKn"), RowOf("B", 4, 1, "UnKn"))));
}

TEST_F(RunStatus, WrittenForABayWithoutAnAmcItIsKeptForTheAmcThatComes) {
    EXPECT_EQ(Write(6, 3), 1);
    EXPECT_EQ(m_Manager.Events().size(), 1U);
    EXPECT_EQ(Read(6), 12);
    AddModule(ENTITY_ID_AMC, 6, "A");
    EXPECT_EQ(Read(6), 1);
    EXPECT_EQ(Row(), RowOf("A", 6, 3, "UnKn"));
}

TEST_F(RunStatus, OfBay9IsTheRtms) {
    AddModule(ENTITY_ID_RTM, 9, "R");
    EXPECT_EQ(Write(9, 5), 1);
    EXPECT_EQ(Read(9), 1);
    EXPECT_EQ(Row(), RowOf("R", 9, 5, "UnKn"));
}

TEST_F(RunStatus, AnyNumberIsKept) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    for (const int l_Status : {0, -1, INT32_MIN, INT32_MAX}) {
        CBMIParams l_Row;
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
        EXPECT_EQ(Write(3, l_Status), 1);
        EXPECT_EQ(m_Table.ReadParams(&l_Keys, &l_Row), 1);
        EXPECT_EQ(l_Row.GetParamById(BMI_HW_AMC_RUN_STATUS)->GetInt(), l_Status);
    }
}

TEST_F(RunStatus, IsKeptForTheProcess) {
    AddModule(ENTITY_ID_AMC, 3, "A");
    Write(3, 5);
    const AMC_HARDWARE_TABLE l_Other(m_Frame);
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    EXPECT_EQ(l_Other.ReadParams(&l_Keys, &m_Row), 1);
    EXPECT_EQ(Row(), RowOf("A", 3, 5, "UnKn"));
}

TEST_F(RunStatus, WithoutABayNothingIsWritten) {
    CBMIKeys l_Empty;
    CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_BAY, "3");
    CBMIParams l_Row = KeyOf(BMI_HW_AMC_RUN_STATUS, 4);
    for (CBMIKeys* l_Keys : std::initializer_list<CBMIKeys*>{nullptr, &l_Empty, &l_Text}) {
        EXPECT_EQ(m_Table.WriteParams(l_Keys, &l_Row, m_Events), 12);
        EXPECT_THAT(Lines(), ElementsAre(Error(WRITE_NO_BAY)));
    }
    EXPECT_THAT(sg_AMC_MAP, IsEmpty());
    EXPECT_THAT(m_Manager.Events(), IsEmpty());
}

TEST_F(RunStatus, WithoutAStatusNothingIsWritten) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    CBMIParams l_Empty;
    CBMIParams l_Text = TextKeyOf(BMI_HW_AMC_RUN_STATUS, "4");
    for (CBMIParams* l_Row : std::initializer_list<CBMIParams*>{nullptr, &l_Empty, &l_Text}) {
        EXPECT_EQ(m_Table.WriteParams(&l_Keys, l_Row, m_Events), 16);
        EXPECT_THAT(Lines(), ElementsAre(Error(WRITE_NO_STATUS)));
    }
    EXPECT_THAT(sg_AMC_MAP, IsEmpty());
    EXPECT_THAT(m_Manager.Events(), IsEmpty());
}

TEST_F(RunStatus, BothIntegerTypesAreTaken) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3, BMI_PARAM_UINT);
    CBMIParams l_Row = KeyOf(BMI_HW_AMC_RUN_STATUS, 4, BMI_PARAM_UINT);
    EXPECT_EQ(m_Table.WriteParams(&l_Keys, &l_Row, m_Events), 1);
    EXPECT_THAT(TextsOf(m_Manager.Events().at(0).m_Params), ElementsAre("0x30208 i:4", "0x30201 i:3 key"));
}

TEST_F(RunStatus, WithoutAManagerItIsKeptAllTheSame) {
    m_Host = nullptr;
    AddModule(ENTITY_ID_AMC, 3, "A");
    EXPECT_EQ(Write(3, 4), 1);
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Row(), RowOf("A", 3, 4, "UnKn"));
}

TEST_F(RunStatus, OutsideTheStartedStateItLogsAndCarriesOn) {
    BeInState(1);
    EXPECT_EQ(Write(3, 4), 1);
    EXPECT_EQ(Lines().front(), Error("IPMIAdaptor :: AMC_HW_WriteParams -- In bad state 1"));
    EXPECT_EQ(m_Manager.Events().size(), 1U);
}

TEST_F(RunStatus, HostThreadsWriteAndReadItAtTheSameTime) {
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 200;
    for (int l_Bay = 1; l_Bay <= 3; ++l_Bay)
        AddModule(ENTITY_ID_AMC, l_Bay, "A");
    LOG_LEVEL_GUARD l_TracesOff(0);
    std::latch l_Start(THREADS);
    std::atomic<int> l_Failures = 0;
    const auto l_Work = [&](int a_Thread) {
        l_Start.arrive_and_wait();
        for (int i = 0; i < ROUNDS; ++i) {
            if (Write(1 + i % 3, 10 + a_Thread) != 1) ++l_Failures;
            CBMITable* l_Table = nullptr;
            if (m_Table.ReadTable(l_Table) != 1 || l_Table->GetSize() != 3) ++l_Failures;
            const int l_Status = l_Table->Get(i % 3)->GetParamById(BMI_HW_AMC_RUN_STATUS)->GetInt();
            if (l_Status < 10 || l_Status >= 10 + THREADS) ++l_Failures;
            delete l_Table;
        }
    };
    std::vector<std::thread> l_Threads;
    for (int i = 0; i < THREADS; ++i)
        l_Threads.emplace_back(l_Work, i);
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_EQ(l_Failures.load(), 0);
    EXPECT_EQ(m_Manager.Events().size(), static_cast<std::size_t>(THREADS) * ROUNDS);
    EXPECT_EQ(sg_AMC_MAP.size(), 3U);
}

} // namespace
