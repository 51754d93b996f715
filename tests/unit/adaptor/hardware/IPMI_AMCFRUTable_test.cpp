// The AMC FRU table: what a bay's vendor record says, or what the simulation puts in its place.
#include "adaptor/hardware/IPMI_AMCFRUTable.h"

#include "adaptor/hardware/HardwareTest.h"

#include <algorithm>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

constexpr const char* NAME = "IPMIAdaptor :: AMC_FRU_ReadParams";
constexpr const char* NO_BAY = "IPMIAdaptor :: AMC_FRU_ReadParams - No Bay Location passed in";
constexpr const char* NOT_FOUND = "IPMIAdaptor :: AMC_FRU_ReadParams - FRU not found";
constexpr const char* NO_FRU_DATA = "IPMIAdaptor :: AMC_FRU_ReadParams - FRU data missing - internal error ";
constexpr const char* RETURNING_OK = "IPMIAdaptor :: AMC_FRU_ReadParams - returning OK";

std::string TargetBay(int a_Bay) {
    return "IPMIAdaptor :: AMC_FRU_ReadParams - target bay location =" + std::to_string(a_Bay);
}

class AmcFru : public HARDWARE_TEST {
protected:
    int Read(int a_Bay) {
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, a_Bay);
        return m_Table.ReadParams(&l_Keys, &m_Row);
    }

    /// An AMC in a bay, with one FRU that holds these multirecords.
    static IPMI_FRU& AddAMC(int a_Bay, const std::vector<BYTES>& a_Records) {
        IPMI_FRU& l_FRU = AddFRU(AddEntity(ENTITY_ID_AMC, a_Bay, a_Bay), "FRU");
        for (const BYTES& l_Record : a_Records)
            AddMultiRecord(l_FRU, l_Record);
        return l_FRU;
    }

    const AMC_FRU_TABLE m_Table{m_Frame};
};

// ---- one row

TEST_F(AmcFru, RowHoldsBayDspCountAndFirstDspType) {
    AddAMC(3, {AMCRecord(4, 1)});
    EXPECT_EQ(Read(3), 1);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:3 key", "0x302 i:4", "0x301 i:1"));
    EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(3)), Trace(RETURNING_OK)));
}

TEST_F(AmcFru, RecordBytesAreUnsigned) {
    AddAMC(1, {AMCRecord(0xFE, 0xFF)});
    EXPECT_EQ(Read(1), 1);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:1 key", "0x302 i:254", "0x301 i:255"));
}

TEST_F(AmcFru, BothIntegerTypesAreTakenAsBay) {
    AddAMC(2, {AMCRecord(4, 1)});
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, 2, BMI_PARAM_UINT);
    EXPECT_EQ(m_Table.ReadParams(&l_Keys, &m_Row), 1);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:2 key", "0x302 i:4", "0x301 i:1"));
}

TEST_F(AmcFru, WithoutABayItAnswersNotFound) {
    AddAMC(3, {AMCRecord(4, 1)});
    const CBMIKeys l_Empty;
    const CBMIKeys l_Other = KeyOf(BMI_HW_AMC_BAY, 3);
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_FRU_BAY, "3");
    for (const CBMIKeys* l_Keys : std::initializer_list<const CBMIKeys*>{nullptr, &l_Empty, &l_Other, &l_Text}) {
        EXPECT_EQ(m_Table.ReadParams(l_Keys, &m_Row), 12);
        EXPECT_THAT(Row(), IsEmpty());
        EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Error(NO_BAY)));
    }
}

TEST_F(AmcFru, NullRowAnswersNotFound) {
    AddAMC(3, {AMCRecord(4, 1)});
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, 3);
    EXPECT_EQ(m_Table.ReadParams(&l_Keys, nullptr), 12);
}

TEST_F(AmcFru, OnlyAnAmcAtThatBayIsFound) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, 9), "RTM"), AMCRecord(4, 1));
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_BASEBOARD, 2), "board"), AMCRecord(4, 1));
    AddAMC(3, {AMCRecord(4, 1)});
    for (const int l_Bay : {-1, 0, 1, 2, 4, 8, 9, 10}) {
        CBMIParams l_Row;
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, l_Bay);
        EXPECT_EQ(m_Table.ReadParams(&l_Keys, &l_Row), 12) << l_Bay;
        EXPECT_THAT(TextsOf(l_Row), ElementsAre("0x303 i:" + std::to_string(l_Bay) + " key"));
        EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(l_Bay)), Error(NOT_FOUND)));
    }
}

TEST_F(AmcFru, EntityWithoutAFruRecordIsAnInternalError) {
    AddEntity(ENTITY_ID_AMC, 3);
    EXPECT_EQ(Read(3), 12);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:3 key"));
    EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(3)), Error(NO_FRU_DATA)));
}

TEST_F(AmcFru, NullFruRecordsCountAsNone) {
    AddEntity(ENTITY_ID_AMC, 3).m_FRUMap["null"] = nullptr;
    EXPECT_EQ(Read(3), 12);
    EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(3)), Error(NO_FRU_DATA)));
}

TEST_F(AmcFru, FirstFruIsTheFirstByNameThatIsNotNull) {
    IPMI_ENTITY& l_AMC = AddEntity(ENTITY_ID_AMC, 3);
    AddMultiRecord(AddFRU(l_AMC, "c"), AMCRecord(9, 9));
    AddMultiRecord(AddFRU(l_AMC, "b"), AMCRecord(4, 1));
    l_AMC.m_FRUMap["a"] = nullptr;
    EXPECT_EQ(Read(3), 1);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:3 key", "0x302 i:4", "0x301 i:1"));
}

TEST_F(AmcFru, FirstEntityOfTheBayInMapOrderIsTaken) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3, 7), "FRU"), AMCRecord(7, 7));
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3, 6), "FRU"), AMCRecord(6, 6));
    EXPECT_EQ(Read(3), 1);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:3 key", "0x302 i:6", "0x301 i:6"));
}

TEST_F(AmcFru, NullEntitiesInTheModelAreSkipped) {
    g_EntityMap[{0, 0, ENTITY_ID_AMC, 0}] = nullptr;
    AddAMC(3, {AMCRecord(4, 1)});
    g_EntityMap[{15, 0x20, ENTITY_ID_BASEBOARD, ENTITY_INSTANCE_FIRST}] = nullptr;
    EXPECT_EQ(Read(3), 1);
}

TEST_F(AmcFru, OwnRecordWinsOverTheOnesBehindIt) {
    AddAMC(3, {RTMRecord(8, 1, 4), AMCRecord(2, 1), AMCRecord(4, 2)});
    EXPECT_EQ(Read(3), 1);
    EXPECT_THAT(Row(), ElementsAre("0x303 i:3 key", "0x302 i:2", "0x301 i:1"));
}

TEST_F(AmcFru, RecordsThatAreNoAmcRecordAreNotTaken) {
    const std::vector<BYTES> l_Records = {
        {},
        {0x57},
        {0x57, 0x01, 0x00},
        {0x57, 0x01, 0x00, 0x02},
        {0x57, 0x01, 0x00, 0x02, 0x00, 0x04}, // byte 6 is missing
        {0x58, 0x01, 0x00, 0x02, 0x00, 0x04, 0x01},
        {0x57, 0x02, 0x00, 0x02, 0x00, 0x04, 0x01},
        {0x57, 0x01, 0x01, 0x02, 0x00, 0x04, 0x01},
        {0x57, 0x01, 0x00, 0x01, 0x00, 0x04, 0x01},
        RTMRecord(8, 1, 4),
    };
    for (std::size_t i = 0; i < l_Records.size(); ++i) {
        SCOPED_TRACE(i);
        CBMIParams l_Row;
        AddAMC(3, {l_Records[i]});
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, 3);
        EXPECT_EQ(m_Table.ReadParams(&l_Keys, &l_Row), 12);
        EXPECT_THAT(TextsOf(l_Row), ElementsAre("0x303 i:3 key"));
        EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(3))));
    }
}

TEST_F(AmcFru, NullRecordInTheListIsSkipped) {
    AddAMC(3, {}).m_MultiRecords.push_back(nullptr);
    EXPECT_EQ(Read(3), 12);
}

TEST_F(AmcFru, OutsideTheStartedStateItLogsAndCarriesOn) {
    AddAMC(3, {AMCRecord(4, 1)});
    for (const int l_State : {0, 1, 3}) {
        CBMIParams l_Row;
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_FRU_BAY, 3);
        BeInState(l_State);
        EXPECT_EQ(m_Table.ReadParams(&l_Keys, &l_Row), 1);
        EXPECT_EQ(l_Row.GetSize(), 3);
        EXPECT_THAT(Lines(),
                    ElementsAre(Error("IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state " + std::to_string(l_State)),
                                Trace(NAME), Trace(TargetBay(3)), Trace(RETURNING_OK)));
    }
}

TEST_F(AmcFru, WithTracesOffOnlyErrorsAreLogged) {
    BM_LOG_LEVEL = 0;
    AddAMC(3, {AMCRecord(4, 1)});
    EXPECT_EQ(Read(3), 1);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(Read(4), 12);
    EXPECT_THAT(Lines(), ElementsAre(Error(NOT_FOUND)));
}

TEST_F(AmcFru, WithoutALoggerItAnswersAllTheSame) {
    m_Logger = nullptr;
    AddAMC(3, {AMCRecord(4, 1)});
    BeInState(0);
    EXPECT_EQ(Read(3), 1);
    EXPECT_EQ(Read(4), 12);
}

// ---- MAVK_AMC

struct SIMULATED_AMC_CASE {
    const char* m_Variable;
    int m_Bay;
    int m_Result;
    TEXTS m_Row;
};

void PrintTo(const SIMULATED_AMC_CASE& a_Case, std::ostream* a_Stream) {
    *a_Stream << "MAVK_AMC=" << a_Case.m_Variable << " bay " << a_Case.m_Bay;
}

class AmcFruSimulation : public AmcFru, public testing::WithParamInterface<SIMULATED_AMC_CASE> {};

TEST_P(AmcFruSimulation, AnswersTheBayOfTheVariableAndNoOther) {
    AddAMC(5, {AMCRecord(4, 1)}); // not looked at while the variable counts
    m_Board.m_Environment["MAVK_AMC"] = GetParam().m_Variable;
    EXPECT_EQ(Read(GetParam().m_Bay), GetParam().m_Result);
    EXPECT_EQ(Row(), GetParam().m_Row);
}

INSTANTIATE_TEST_SUITE_P(
    Values, AmcFruSimulation,
    testing::Values(SIMULATED_AMC_CASE{"x312", 3, 1, {"0x303 i:3 key", "0x301 s:1", "0x302 s:2"}},
                    SIMULATED_AMC_CASE{"0847", 8, 1, {"0x303 i:8 key", "0x301 s:4", "0x302 s:7"}},
                    SIMULATED_AMC_CASE{"131299", 3, 1, {"0x303 i:3 key", "0x301 s:1", "0x302 s:2"}},
                    SIMULATED_AMC_CASE{"13ab", 3, 1, {"0x303 i:3 key", "0x301 s:0", "0x302 s:0"}},
                    SIMULATED_AMC_CASE{"1x12", 0, 1, {"0x303 i:0 key", "0x301 s:1", "0x302 s:2"}},
                    SIMULATED_AMC_CASE{"1912", 9, 1, {"0x303 i:9 key", "0x301 s:1", "0x302 s:2"}},
                    SIMULATED_AMC_CASE{"x312", 4, 12, {"0x303 i:4 key"}},
                    SIMULATED_AMC_CASE{"x312", 5, 12, {"0x303 i:5 key"}}, // no falling back to the model
                    SIMULATED_AMC_CASE{"151", 5, 1, {"0x303 i:5 key", "0x302 i:4", "0x301 i:1"}}, // too short
                    SIMULATED_AMC_CASE{"", 5, 1, {"0x303 i:5 key", "0x302 i:4", "0x301 i:1"}}));

TEST_F(AmcFru, SimulatedBayLogsThatItWasFound) {
    m_Board.m_Environment["MAVK_AMC"] = "x312";
    EXPECT_EQ(Read(3), 1);
    EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(3)),
                                     Trace("IPMIAdaptor :: AMC_FRU_ReadParams - Found AMC Bay Location 3")));
}

TEST_F(AmcFru, AnotherBayThanTheSimulatedOneLogsNothingMore) {
    m_Board.m_Environment["MAVK_AMC"] = "x312";
    EXPECT_EQ(Read(4), 12);
    EXPECT_THAT(Lines(), ElementsAre(Trace(NAME), Trace(TargetBay(4))));
}

// ---- the table

TEST_F(AmcFru, TableHoldsTheRowsOfBays1To8InOrder) {
    AddAMC(8, {AMCRecord(8, 1)});
    AddAMC(2, {AMCRecord(2, 1)});
    AddAMC(9, {AMCRecord(9, 1)});
    AddEntity(ENTITY_ID_AMC, 4, 4); // without a FRU record: dropped
    EXPECT_THAT(TableOf(m_Table), Optional(ElementsAre(TEXTS{"0x303 i:2 key", "0x302 i:2", "0x301 i:1"},
                                                       TEXTS{"0x303 i:8 key", "0x302 i:8", "0x301 i:1"})));
}

TEST_F(AmcFru, TableLogsEveryBayAndTheCount) {
    AddAMC(2, {AMCRecord(2, 1)});
    TableOf(m_Table);
    std::vector<LOG_LINE> l_Expected;
    for (int l_Bay = 1; l_Bay <= 8; ++l_Bay) {
        const std::string l_Number = std::to_string(l_Bay);
        l_Expected.push_back(Trace("IPMIAdaptor :: AMC_FRU_ReadTable -- looking for AMC in Bay  " + l_Number));
        l_Expected.push_back(Trace(NAME));
        l_Expected.push_back(Trace(TargetBay(l_Bay)));
        if (l_Bay == 2) {
            l_Expected.push_back(Trace(RETURNING_OK));
            l_Expected.push_back(Trace("IPMIAdaptor :: AMC_FRU_ReadTable -- Found AMC in Bay  2"));
        } else {
            l_Expected.push_back(Error(NOT_FOUND));
        }
    }
    l_Expected.push_back(Error("IPMIAdaptor :: AMC_FRU_ReadTable -- Returning 1 found "));
    EXPECT_EQ(Lines(), l_Expected);
}

TEST_F(AmcFru, TableWithoutAnAmcIsEmptyAndSuccess) {
    EXPECT_THAT(TableOf(m_Table), Optional(IsEmpty()));
    EXPECT_EQ(Lines().back(), Error("IPMIAdaptor :: AMC_FRU_ReadTable -- Returning 0 found "));
}

TEST_F(AmcFru, TableOfTheSimulatedBayHoldsItsRowOnly) {
    AddAMC(5, {AMCRecord(4, 1)});
    m_Board.m_Environment["MAVK_AMC"] = "x312";
    EXPECT_THAT(TableOf(m_Table), Optional(ElementsAre(TEXTS{"0x303 i:3 key", "0x301 s:1", "0x302 s:2"})));
}

TEST_F(AmcFru, TableOutsideTheStartedStateLogsItForItselfAndForEveryRow) {
    BeInState(1);
    TableOf(m_Table);
    const std::vector<LOG_LINE> l_Lines = Lines();
    EXPECT_EQ(l_Lines.front(), Error("IPMIAdaptor :: AMC_FRU_ReadTable -- In bad state 1"));
    EXPECT_EQ(std::ranges::count(l_Lines, Error("IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state 1")), 8);
}

} // namespace
