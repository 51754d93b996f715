// The RTM FRU table: the override of MAVK_RTM first, then the RTM's vendor record.
#include "adaptor/hardware/IPMI_RTMFRUTable.h"

#include "adaptor/hardware/HardwareTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

constexpr const char* RTM_NAME = "IPMIAdaptor :: RTM_FRU_ReadParams";
constexpr const char* NOT_SIMULATED =
    "IPMIAdaptor :: RTM_FRU_ReadParams - file read rc=0 l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1";
constexpr const char* NO_OVERRIDE = "IPMIAdaptor :: RTM_FRU_ReadParams - Using FRU data (no override)";
constexpr const char* NO_RTM = "IPMIAdaptor :: RTM_FRU_ReadParams - NO RTM INSTALLED ";
constexpr const char* RTM_NO_FRU_DATA = "IPMIAdaptor :: RTM_FRU_ReadParams - FRU data missing - internal error ";
constexpr const char* NO_RECORD = "IPMIAdaptor :: RTM_FRU_ReadParams - error - not found";
constexpr const char* RTM_RETURNING_OK = "IPMIAdaptor :: RTM_FRU_ReadParams - returning OK ";

class RtmFru : public HARDWARE_TEST {
protected:
    int Read() {
        const CBMIKeys l_NoKeys;
        return m_Table.ReadParams(&l_NoKeys, &m_Row);
    }

    static IPMI_FRU& AddRTM(const std::vector<BYTES>& a_Records) {
        IPMI_FRU& l_FRU = AddFRU(AddEntity(ENTITY_ID_RTM, RTM_BAY, 9), "FRU");
        for (const BYTES& l_Record : a_Records)
            AddMultiRecord(l_FRU, l_Record);
        return l_FRU;
    }

    const RTM_FRU_TABLE m_Table{m_Frame};
};

// ---- one row

TEST_F(RtmFru, RowHoldsFramerTypeFramersAndTrunks) {
    AddRTM({RTMRecord(8, 1, 4)});
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:1", "0x402 i:8", "0x403 i:4"));
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(RTM_NAME), Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Trace(RTM_RETURNING_OK)));
}

TEST_F(RtmFru, RecordBytesAreUnsigned) {
    AddRTM({RTMRecord(0xFD, 0xFE, 0xFF)});
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:254", "0x402 i:253", "0x403 i:255"));
}

TEST_F(RtmFru, KeysAreNotExamined) {
    AddRTM({RTMRecord(8, 1, 4)});
    EXPECT_EQ(m_Table.ReadParams(nullptr, &m_Row), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:1", "0x402 i:8", "0x403 i:4"));
}

TEST_F(RtmFru, NullRowAnswersNotFound) {
    AddRTM({RTMRecord(8, 1, 4)});
    EXPECT_EQ(m_Table.ReadParams(nullptr, nullptr), 12);
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    EXPECT_EQ(m_Table.ReadParams(nullptr, nullptr), 12);
}

TEST_F(RtmFru, WithoutAnRtmItAnswersNotFound) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 9), "AMC"), RTMRecord(8, 1, 4));
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_BASEBOARD, 9), "board"), RTMRecord(8, 1, 4));
    EXPECT_EQ(Read(), 12);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(Trace(RTM_NAME), Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Error(NO_RTM)));
}

TEST_F(RtmFru, EntityWithoutAFruRecordIsAnInternalError) {
    AddEntity(ENTITY_ID_RTM, RTM_BAY).m_FRUMap["null"] = nullptr;
    EXPECT_EQ(Read(), 12);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(RTM_NAME), Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Error(RTM_NO_FRU_DATA)));
}

TEST_F(RtmFru, RtmIsFoundByItsEntityIdWhateverItsBay) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, 0), "RTM"), RTMRecord(8, 1, 4));
    EXPECT_EQ(Read(), 1);
}

TEST_F(RtmFru, FirstRtmInMapOrderIsTakenAndNullEntitiesAreSkipped) {
    g_EntityMap[{0, 0, ENTITY_ID_RTM, 0}] = nullptr;
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, RTM_BAY, 7), "FRU"), RTMRecord(7, 1, 4));
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, RTM_BAY, 6), "FRU"), RTMRecord(6, 1, 4));
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:1", "0x402 i:6", "0x403 i:4"));
}

TEST_F(RtmFru, FirstFruIsTheFirstByNameThatIsNotNull) {
    IPMI_ENTITY& l_RTM = AddEntity(ENTITY_ID_RTM, RTM_BAY);
    AddMultiRecord(AddFRU(l_RTM, "c"), RTMRecord(9, 9, 9));
    AddMultiRecord(AddFRU(l_RTM, "b"), RTMRecord(8, 1, 4));
    l_RTM.m_FRUMap["a"] = nullptr;
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:1", "0x402 i:8", "0x403 i:4"));
}

TEST_F(RtmFru, OwnRecordWinsOverTheOnesBehindIt) {
    AddRTM({AMCRecord(4, 1), RTMRecord(8, 2, 16), RTMRecord(1, 1, 4)});
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:2", "0x402 i:8", "0x403 i:16"));
}

TEST_F(RtmFru, RecordsThatAreNoRtmRecordAreNotTaken) {
    const std::vector<BYTES> l_Records = {
        {},
        {0x57, 0x01, 0x00, 0x03},
        {0x57, 0x01, 0x00, 0x03, 0x00, 0x08, 0x01}, // byte 7 is missing
        {0x58, 0x01, 0x00, 0x03, 0x00, 0x08, 0x01, 0x04},
        {0x57, 0x02, 0x00, 0x03, 0x00, 0x08, 0x01, 0x04},
        {0x57, 0x01, 0x01, 0x03, 0x00, 0x08, 0x01, 0x04},
        {0x57, 0x01, 0x00, 0x02, 0x00, 0x08, 0x01, 0x04},
    };
    for (std::size_t i = 0; i < l_Records.size(); ++i) {
        SCOPED_TRACE(i);
        AddRTM({l_Records[i]});
        EXPECT_EQ(Read(), 12);
        EXPECT_THAT(Row(), IsEmpty());
        EXPECT_THAT(Lines(), ElementsAre(Trace(RTM_NAME), Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Error(NO_RECORD)));
    }
}

TEST_F(RtmFru, OutsideTheStartedStateItLogsAndCarriesOn) {
    AddRTM({RTMRecord(8, 1, 4)});
    BeInState(1);
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:1", "0x402 i:8", "0x403 i:4"));
    EXPECT_THAT(Lines(), ElementsAre(Error("IPMIAdaptor :: RTM_FRU_ReadParams -- In bad state 1"), Trace(RTM_NAME),
                                     Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Trace(RTM_RETURNING_OK)));
}

// ---- MAVK_RTM

TEST_F(RtmFru, SimulatedRtmReplacesTheModel) {
    AddRTM({RTMRecord(8, 1, 4)});
    m_Board.m_Environment["MAVK_RTM"] = "2356";
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:3", "0x402 i:5", "0x403 i:6"));
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(RTM_NAME),
                            Trace("IPMIAdaptor :: RTM_FRU_ReadParams - file read rc=2 l_FramerType=3 l_NumFramers=5 "
                                  "l_NumTrunksPerFramer=6"),
                            Trace("IPMIAdaptor :: RTM_FRU_ReadParams - returning Simulated OK ")));
}

TEST_F(RtmFru, SimulatedRtmWithoutItsDigitsKeepsMinusOne) {
    m_Board.m_Environment["MAVK_RTM"] = "218";
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:-1", "0x402 i:-1", "0x403 i:-1"));
}

TEST_F(RtmFru, SimulatedAbsenceHidesTheRtm) {
    AddRTM({RTMRecord(8, 1, 4)});
    m_Board.m_Environment["MAVK_RTM"] = "1";
    EXPECT_EQ(Read(), 12);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(RTM_NAME),
                            Trace("IPMIAdaptor :: RTM_FRU_ReadParams - file read rc=1 l_FramerType=-1 l_NumFramers=-1 "
                                  "l_NumTrunksPerFramer=-1"),
                            Trace("IPMIAdaptor :: RTM_FRU_ReadParams - returning simulated no RTM")));
}

TEST_F(RtmFru, ModeZeroReadsTheModel) {
    AddRTM({RTMRecord(8, 1, 4)});
    m_Board.m_Environment["MAVK_RTM"] = "0999";
    EXPECT_EQ(Read(), 1);
    EXPECT_THAT(Row(), ElementsAre("0x401 i:1", "0x402 i:8", "0x403 i:4"));
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(RTM_NAME), Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Trace(RTM_RETURNING_OK)));
}

TEST_F(RtmFru, AnyOtherModeReadsTheModelWithoutSayingSo) {
    AddRTM({RTMRecord(8, 1, 4)});
    for (const char* l_Mode : {"3", "9111"}) {
        CBMIParams l_Row;
        m_Board.m_Environment["MAVK_RTM"] = l_Mode;
        EXPECT_EQ(m_Table.ReadParams(nullptr, &l_Row), 1);
        EXPECT_THAT(TextsOf(l_Row), ElementsAre("0x401 i:1", "0x402 i:8", "0x403 i:4"));
        EXPECT_THAT(Lines(), ElementsAre(Trace(RTM_NAME),
                                         Trace(std::string("IPMIAdaptor :: RTM_FRU_ReadParams - file read rc=") +
                                               l_Mode[0] + " l_FramerType=-1 l_NumFramers=-1 l_NumTrunksPerFramer=-1"),
                                         Trace(RTM_RETURNING_OK)));
    }
}

// ---- the table

TEST_F(RtmFru, TableHoldsTheOneRow) {
    AddRTM({RTMRecord(8, 1, 4)});
    EXPECT_THAT(TableOf(m_Table), Optional(ElementsAre(TEXTS{"0x401 i:1", "0x402 i:8", "0x403 i:4"})));
    EXPECT_THAT(Lines(),
                ElementsAre(Trace(RTM_NAME), Trace(NOT_SIMULATED), Trace(NO_OVERRIDE), Trace(RTM_RETURNING_OK)));
}

TEST_F(RtmFru, TableWithoutAnRtmIsEmptyAndNotFound) {
    EXPECT_THAT(TableOf(m_Table, 12), Optional(IsEmpty()));
}

TEST_F(RtmFru, TableOutsideTheStartedStateLogsItForItselfAndForItsRow) {
    BeInState(0);
    TableOf(m_Table, 12);
    const std::vector<LOG_LINE> l_Lines = Lines();
    ASSERT_GE(l_Lines.size(), 2U);
    EXPECT_EQ(l_Lines[0], Error("IPMIAdaptor :: RTM_FRU_ReadTable -- In bad state 0"));
    EXPECT_EQ(l_Lines[1], Error("IPMIAdaptor :: RTM_FRU_ReadParams -- In bad state 0"));
}

} // namespace
