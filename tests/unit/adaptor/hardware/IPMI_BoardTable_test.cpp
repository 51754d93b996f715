// The board table: the baseboard's FRU texts and controller, and the write that resets it.
#include "adaptor/hardware/IPMI_BoardTable.h"

#include "adaptor/hardware/HardwareTest.h"
#include "ipmi/IPMI_Probe.h"

#include <algorithm>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

constexpr const char* READ = "IPMIAdaptor :: Board_Hardware_ReadParams";
constexpr const char* BOARD_NO_MC =
    "IPMIAdaptor :: Board_Hardware_ReadParams - FRU data missing - internal error (NO MC)";
constexpr const char* BOARD_NO_FRU =
    "IPMIAdaptor :: Board_Hardware_ReadParams - FRU data missing - internal error (no FRU)";
constexpr const char* WRITE = "IPMIAdaptor :: Board_Hardware_WriteParams";
constexpr const char* NO_ROW = "IPMIAdaptor :: Board_Hardware_WriteParams - prow=null";
constexpr const char* SENT = "Board_Hardware_WriteParams - Sending Request - DONE";

const TEXTS BOARD_ROW = {"0x30001 s:FRU board product name",
                         "0x30002 i:7",
                         "0x30003 s:FRU board manufacturer",
                         "0x30004 s:FRU product serial",
                         "0x30005 s:FRU product version",
                         "0x30007 s:FRU board part number",
                         "0x30006 s:2.17"};

class Board : public HARDWARE_TEST {
protected:
    int Read() { return m_Table.ReadParams(nullptr, &m_Row); }

    static IPMI_ENTITY& AddBoard() { return AddEntity(ENTITY_ID_BASEBOARD, 7); }

    static void AddWholeBoard() {
        IPMI_ENTITY& l_Board = AddBoard();
        AddFRUWithTexts(l_Board, "FRU");
        AddMC(l_Board, "MC", 2, 17);
    }

    const BOARD_TABLE m_Table{m_Frame};
};

// ---- one row

TEST_F(Board, RowHoldsFruTextsLocationAndFirmwareInOrder) {
    AddWholeBoard();
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), BOARD_ROW);
    EXPECT_THAT(Lines(), ElementsAre(Trace(READ)));
}

TEST_F(Board, KeysAreIgnored) {
    AddWholeBoard();
    const CBMIKeys l_Keys = KeyOf(BMI_HW_BOARD_LOCATION, 1);
    EXPECT_EQ(m_Table.ReadParams(&l_Keys, &m_Row), 1);
    EXPECT_EQ(Row(), BOARD_ROW);
}

TEST_F(Board, NullRowAnswersNotFound) {
    AddWholeBoard();
    EXPECT_EQ(m_Table.ReadParams(nullptr, nullptr), 12);
}

TEST_F(Board, WithoutABaseboardItAnswersNotFound) {
    AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 1), "AMC");
    AddFRUWithTexts(AddEntity(ENTITY_ID_RTM, 9), "RTM");
    EXPECT_EQ(Read(), 12);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(Trace(READ)));
}

TEST_F(Board, WithoutAFruRecordItIsAnInternalErrorEvenWithAController) {
    IPMI_ENTITY& l_Board = AddBoard();
    AddMC(l_Board, "MC", 2, 17);
    l_Board.m_FRUMap["null"] = nullptr;
    EXPECT_EQ(Read(), 12);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(Trace(READ), Error(BOARD_NO_FRU)));
}

TEST_F(Board, WithoutAControllerItIsAnInternalErrorAfterTheFruTexts) {
    IPMI_ENTITY& l_Board = AddBoard();
    AddFRUWithTexts(l_Board, "FRU");
    l_Board.m_MCMap["null"] = nullptr;
    EXPECT_EQ(Read(), 12);
    EXPECT_EQ(Row(), TEXTS(BOARD_ROW.begin(), BOARD_ROW.end() - 1));
    EXPECT_THAT(Lines(), ElementsAre(Trace(READ), Error(BOARD_NO_MC)));
}

TEST_F(Board, FirstFruAndControllerAreTheFirstByNameThatAreNotNull) {
    IPMI_ENTITY& l_Board = AddBoard();
    AddFRUWithTexts(l_Board, "Z");
    AddFRUWithTexts(l_Board, "FRU");
    l_Board.m_FRUMap["A"] = nullptr;
    AddMC(l_Board, "z", 9, 9);
    AddMC(l_Board, "m", 2, 17);
    l_Board.m_MCMap["a"] = nullptr;
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), BOARD_ROW);
}

TEST_F(Board, FirstBaseboardInMapOrderIsTakenAndNullEntitiesAreSkipped) {
    g_EntityMap[{0, 0, ENTITY_ID_BASEBOARD, 0}] = nullptr;
    AddEntity(ENTITY_ID_BASEBOARD, 1, 0x61);
    AddWholeBoard(); // instance 0x60
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), BOARD_ROW);
}

TEST_F(Board, TextsThatLookLikeFormatsAreCopiedAsTheyAre) {
    AddWholeBoard();
    g_EntityMap.begin()->second->FirstFRU()->m_BoardProductName = "100%s %n";
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row().front(), "0x30001 s:100%s %n");
}

TEST_F(Board, OutsideTheStartedStateItLogsUnderTheLedHandlersNameAndCarriesOn) {
    AddWholeBoard();
    BeInState(1);
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(Row(), BOARD_ROW);
    EXPECT_THAT(Lines(), ElementsAre(Error("IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state 1"), Trace(READ)));
}

// ---- the table

TEST_F(Board, TableHoldsTheOneRow) {
    AddWholeBoard();
    EXPECT_THAT(TableOf(m_Table), Optional(ElementsAre(BOARD_ROW)));
    EXPECT_THAT(Lines(), ElementsAre(Trace(READ)));
}

TEST_F(Board, TableIsEmptyAndGivesTheRowsResultWhenItFails) {
    AddFRUWithTexts(AddBoard(), "FRU"); // no controller
    EXPECT_THAT(TableOf(m_Table, 12), Optional(IsEmpty()));
}

TEST_F(Board, TableOutsideTheStartedStateLogsItForItselfAndForItsRow) {
    AddWholeBoard();
    BeInState(0);
    EXPECT_THAT(TableOf(m_Table), Optional(ElementsAre(BOARD_ROW)));
    EXPECT_THAT(Lines(), ElementsAre(Error("IPMIAdaptor :: Board_Hardware_ReadTable -- In bad state 0"),
                                     Error("IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state 0"), Trace(READ)));
}

// ---- the reset

const BYTES COLD_RESET_OF_FRU_0 = {0x2C, 0x04, 0x00, 0x00, 0x00};

class BoardReset : public Board {
protected:
    /// The lines of the adaptor alone.
    std::vector<LOG_LINE> AdaptorLines() {
        std::vector<LOG_LINE> l_Lines = Lines();
        std::erase_if(l_Lines, [](const LOG_LINE& a_Line) { return a_Line.m_Text.starts_with("ENTITYCAPTURE"); });
        return l_Lines;
    }

    void AddFlag(BMIParamId_e a_Id, bool a_Value, BMIParamType_e a_Type = BMI_PARAM_BOOL) {
        CBMIParam l_Param(a_Type, a_Id, false);
        l_Param.SetBool(a_Value);
        m_Row.Add(l_Param);
    }

    int Write() {
        g_ENTITYCapture = &m_Probe;
        return m_Table.WriteParams(&m_Row);
    }

    ENTITYCAPTURE m_Probe{Fake().Domain(), nullptr, &m_Log};
};

std::string ResetLine(const char* a_Baseboard, const char* a_EntireCard) {
    return std::string("IPMIAdaptor :: Board_Hardware_WriteParams - ResetBaseboard=") + a_Baseboard +
           " ResetEntireCard=" + a_EntireCard + "\n";
}

TEST_F(BoardReset, IsSentWhateverTheFlagsSay) {
    struct FLAGS {
        bool m_Baseboard;
        bool m_EntireCard;
        const char* m_BaseboardText;
        const char* m_EntireCardText;
    };
    for (const FLAGS& l_Flags : {FLAGS{false, false, "FALSE", "FALSE"}, FLAGS{true, false, "TRUE", "FALSE"},
                                 FLAGS{false, true, "FALSE", "TRUE"}, FLAGS{true, true, "TRUE", "TRUE"}}) {
        m_Row = CBMIParams();
        AddFlag(BMI_HW_BOARD_RESET_BASEBOARD, l_Flags.m_Baseboard);
        AddFlag(BMI_HW_BOARD_RESET_ENTIRE_CARD, l_Flags.m_EntireCard);
        EXPECT_EQ(Write(), 1);
        EXPECT_EQ(Fake().SentBytes().back(), COLD_RESET_OF_FRU_0);
        EXPECT_THAT(AdaptorLines(),
                    ElementsAre(Trace(WRITE), Trace(ResetLine(l_Flags.m_BaseboardText, l_Flags.m_EntireCardText)),
                                Trace(SENT)));
    }
    EXPECT_EQ(Fake().SentCount(), 4U);
}

TEST_F(BoardReset, AbsentFlagsCountAsFalse) {
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Fake().SentBytes(), std::vector<BYTES>{COLD_RESET_OF_FRU_0});
    EXPECT_THAT(AdaptorLines(), ElementsAre(Trace(WRITE), Trace(ResetLine("FALSE", "FALSE")), Trace(SENT)));
}

TEST_F(BoardReset, FlagOfAnotherTypeCountsAsFalse) {
    AddFlag(BMI_HW_BOARD_RESET_BASEBOARD, true, BMI_PARAM_INT);
    EXPECT_EQ(Write(), 1);
    EXPECT_THAT(AdaptorLines(), ElementsAre(Trace(WRITE), Trace(ResetLine("FALSE", "FALSE")), Trace(SENT)));
}

TEST_F(BoardReset, WithoutAProbeNothingIsSentAndTheAnswerIsTheSame) {
    EXPECT_EQ(m_Table.WriteParams(&m_Row), 1);
    EXPECT_EQ(Fake().SentCount(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(Trace(WRITE), Trace(ResetLine("FALSE", "FALSE")), Trace(SENT)));
}

TEST_F(BoardReset, NullRowIsRefusedAndNothingSent) {
    g_ENTITYCapture = &m_Probe;
    EXPECT_EQ(m_Table.WriteParams(nullptr), 12);
    EXPECT_EQ(Fake().SentCount(), 0U);
    EXPECT_THAT(Lines(), ElementsAre(Trace(WRITE), Error(NO_ROW)));
}

TEST_F(BoardReset, RequestThatCannotBeSentIsAnsweredTheSame) {
    Fake().SetSendResult(5);
    EXPECT_EQ(Write(), 1);
}

TEST_F(BoardReset, OutsideTheStartedStateItLogsAndCarriesOn) {
    BeInState(1);
    EXPECT_EQ(Write(), 1);
    EXPECT_EQ(Fake().SentCount(), 1U);
    EXPECT_THAT(AdaptorLines(), ElementsAre(Error("IPMIAdaptor :: Board_Hardware_WriteParams -- In bad state 1"),
                                            Trace(WRITE), Trace(ResetLine("FALSE", "FALSE")), Trace(SENT)));
}

} // namespace
