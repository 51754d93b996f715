// An LED's setting to and from rows: the six conversions, in pairs that differ in their ids.
#include "adaptor/leds/LedTest.h"

#include <limits>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

namespace {

constexpr int32_t SMALLEST = std::numeric_limits<int32_t>::min();
constexpr int32_t LARGEST = std::numeric_limits<int32_t>::max();

LED_STATE State(int32_t a_Color, int32_t a_OnTime, int32_t a_OffTime) {
    LED_STATE l_State;
    l_State.m_Color = a_Color;
    l_State.m_OnTime = a_OnTime;
    l_State.m_OffTime = a_OffTime;
    return l_State;
}

class LedRows : public ADAPTOR_PROCESS_TEST {
protected:
    LedRows() { g_Logger2 = &m_Log; }
};

// ---- internal rows to a state

struct INTERNAL_KIND {
    const char* m_Name;
    unsigned m_Base; ///< ids are numbered from here
    bool (*m_ToState)(const CBMIParams*, LED_STATE*);
    void (*m_ToRow)(CBMIParams*, const LED_STATE&);
    const char* m_ToRowLine;
    const char* m_NullRowLine;
};

class InternalLedRow : public LedRows, public testing::WithParamInterface<INTERNAL_KIND> {
protected:
    /// Values by the last part of their ids.
    CBMIParams Row(const std::vector<std::pair<unsigned, int32_t>>& a_Values) const {
        std::vector<std::pair<unsigned, int32_t>> l_Values = a_Values;
        for (auto& l_Value : l_Values)
            l_Value.first += GetParam().m_Base;
        return Integers<CBMIParams>(l_Values);
    }
    bool ToState(const CBMIParams& a_Row) { return GetParam().m_ToState(&a_Row, &m_State); }

    LED_STATE m_State;
};

TEST_P(InternalLedRow, BecomesAState) {
    EXPECT_TRUE(ToState(Row({{0x05, 1}, {0x02, 500}, {0x03, 300}, {0x0C, 4}})));
    EXPECT_EQ(m_State.m_LocalControl, 0);
    EXPECT_EQ(m_State.m_OnTime, 500);
    EXPECT_EQ(m_State.m_OffTime, 300);
    EXPECT_EQ(m_State.m_Color, 4);
    EXPECT_EQ(m_State.m_LampTestDuration, 0);
}

TEST_P(InternalLedRow, CarriesTheInverseOfLocalControl) {
    for (const auto& [l_Flag, l_LocalControl] : std::vector<std::pair<int, int>>{{0, 1}, {1, 0}, {2, 0}, {-1, 0}}) {
        ToState(Row({{0x05, l_Flag}, {0x02, 1}, {0x03, 0}}));
        EXPECT_EQ(m_State.m_LocalControl, l_LocalControl) << l_Flag;
    }
}

TEST_P(InternalLedRow, LampTestIsTheOffTimeWheneverItsValueIsThere) {
    ToState(Row({{0x05, 1}, {0x02, 1}, {0x03, 77}, {0x04, 5}}));
    EXPECT_EQ(m_State.m_LampTestDuration, 77);
    CBMIParams l_Row = Row({{0x05, 1}, {0x02, 1}, {0x03, 78}});
    l_Row.Add(CBMIParam(BMI_PARAM_STRING, GetParam().m_Base + 0x04, false));
    ToState(l_Row);
    EXPECT_EQ(m_State.m_LampTestDuration, 78);
    ToState(Row({{0x05, 1}, {0x02, 1}, {0x03, 79}}));
    EXPECT_EQ(m_State.m_LampTestDuration, 0);
}

TEST_P(InternalLedRow, WithoutAColourIsBlack) {
    m_State.m_Color = 3;
    EXPECT_TRUE(ToState(Row({{0x05, 1}, {0x02, 1}, {0x03, 0}})));
    EXPECT_EQ(m_State.m_Color, 0);
}

TEST_P(InternalLedRow, ExtremeValuesPassThrough) {
    EXPECT_TRUE(ToState(Row({{0x05, SMALLEST}, {0x02, SMALLEST}, {0x03, LARGEST}, {0x04, 1}, {0x0C, SMALLEST}})));
    EXPECT_EQ(m_State.m_OnTime, SMALLEST);
    EXPECT_EQ(m_State.m_LampTestDuration, LARGEST);
    EXPECT_EQ(m_State.m_Color, SMALLEST);
}

TEST_P(InternalLedRow, TakesBothIntegerTypes) {
    CBMIParams l_Row;
    for (const unsigned l_Id : {0x05U, 0x02U, 0x03U, 0x0CU}) {
        CBMIParam l_Param(BMI_PARAM_UINT, GetParam().m_Base + l_Id, false);
        l_Param.SetInt(static_cast<int32_t>(l_Id));
        l_Row.Add(l_Param);
    }
    EXPECT_TRUE(ToState(l_Row));
    EXPECT_EQ(m_State.m_OnTime, 2);
    EXPECT_EQ(m_State.m_Color, 12);
}

TEST_P(InternalLedRow, WithoutAValueThatItNeedsLeavesTheStateAloneAndSaysWhich) {
    const std::vector<std::pair<unsigned, int32_t>> l_All = {{0x05, 1}, {0x02, 1}, {0x03, 0}};
    for (std::size_t i = 0; i < l_All.size(); ++i) {
        auto l_Some = l_All;
        l_Some.erase(l_Some.begin() + static_cast<long>(i));
        CBMIParams l_Missing = Row(l_Some);
        CBMIParams l_WrongType = l_Missing;
        l_WrongType.Add(CBMIParam(BMI_PARAM_STRING, GetParam().m_Base + l_All[i].first, false));
        for (const CBMIParams* l_Row : {&l_Missing, &l_WrongType}) {
            m_State = State(9, 9, 9);
            EXPECT_FALSE(ToState(*l_Row));
            EXPECT_EQ(m_State.m_Color, 9);
            EXPECT_EQ(m_State.m_OnTime, 9);
            std::array<char, 64> l_Line{};
            snprintf(l_Line.data(), l_Line.size(), "LED row without an integer 0x%x",
                     GetParam().m_Base + l_All[i].first);
            EXPECT_THAT(Lines(), ElementsAre(Error(l_Line.data())));
        }
    }
    EXPECT_FALSE(GetParam().m_ToState(nullptr, &m_State));
}

// ---- a state to internal rows

TEST_P(InternalLedRow, HoldsTheStateInOrderWithLocalControlAsItIs) {
    LED_STATE l_State = State(5, 20, 30);
    l_State.m_LocalControl = 1;
    l_State.m_LampTestDuration = 40;
    l_State.m_ColorSupported = {true, false, true, false, false, true};
    CBMIParams l_Row;
    GetParam().m_ToRow(&l_Row, l_State);
    const std::string l_Base = GetParam().m_Base == 0x100 ? "0x1" : "0x2";
    EXPECT_THAT(TextsOf(l_Row),
                ElementsAre(l_Base + "05 i:1", l_Base + "02 i:20", l_Base + "03 i:30", l_Base + "04 i:40",
                            l_Base + "0c i:5", l_Base + "06 b:true", l_Base + "07 b:false", l_Base + "08 b:true",
                            l_Base + "09 b:false", l_Base + "0a b:false", l_Base + "0b b:true"));
    EXPECT_THAT(Lines(), ElementsAre(Trace(GetParam().m_ToRowLine)));
}

TEST_P(InternalLedRow, ReadAndWrittenBackHasItsLocalControlInverted) {
    EXPECT_TRUE(ToState(Row({{0x05, 1}, {0x02, 1}, {0x03, 0}})));
    CBMIParams l_Row;
    GetParam().m_ToRow(&l_Row, m_State);
    EXPECT_EQ(l_Row.Get(0)->GetId(), GetParam().m_Base + 5);
    EXPECT_EQ(l_Row.Get(0)->GetInt(), 0);
}

TEST_P(InternalLedRow, NullEndsTheProcess) {
    class STDERR_LOG final : public CBaseOsLog {
    public:
        void Log(int a_Level, const char*, const char* a_Text) override { fprintf(stderr, "%i %s\n", a_Level, a_Text); }
    } l_Log;
    g_Logger2 = &l_Log;
    EXPECT_EXIT(GetParam().m_ToRow(nullptr, LED_STATE{}), ExitedWithCode(1),
                std::string("3 ") + GetParam().m_NullRowLine);
    g_Logger2 = nullptr;
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, InternalLedRow,
    testing::Values(INTERNAL_KIND{"Baseboard", 0x100, ConvertInternalRowToState, ConvertStateToInternalRow,
                                  "BBLED-ConvertStateToInternalRow", "ERROR ConvertStateToInternalRow a_pRow==NULL"},
                    INTERNAL_KIND{"AMC", 0x200, ConvertInternalAMCRowToState, ConvertStateToInternalAMCRow,
                                  "BBLED-ConvertStateToInternalAMCRow",
                                  "ERROR ConvertStateToInternalAMCRow a_pRow==NULL"}),
    [](const auto& a_Info) { return a_Info.param.m_Name; });

TEST_F(LedRows, OnlyTheAmcsConversionTracesWhatItRead) {
    LED_STATE l_State;
    const CBMIParams l_AMC = Integers<CBMIParams>({{0x205, 0}, {0x202, 500}, {0x203, 300}, {0x204, 1}, {0x20C, 4}});
    ConvertInternalAMCRowToState(&l_AMC, &l_State);
    EXPECT_THAT(Lines(), ElementsAre(Trace("IPMIAdaptor :: ConvertInternalAMCRowToState(), returning "
                                           "a_LEDState->m_OnTime=500,m_OffTime=300, m_LocalControl=1,\t\t\t\t"
                                           "m_LampTestDuration=300, m_Color=4\n")));
    const CBMIParams l_Board = Integers<CBMIParams>({{0x105, 0}, {0x102, 500}, {0x103, 300}});
    ConvertInternalRowToState(&l_Board, &l_State);
    EXPECT_THAT(Lines(), IsEmpty());
}

// ---- a state to external rows

struct EXTERNAL_CASE {
    LED_STATE m_State;
    int m_Color;
    int m_Mode;
    bool m_bInconsistent = false;
};

const EXTERNAL_CASE g_ExternalCases[] = {
    // off: no colour, or 0/1
    {State(0, 1, 0), 7, 1},
    {State(0, 500, 500), 7, 1},
    {State(0, 500, 0), 7, 1},
    {State(3, 0, 1), 7, 1},
    // colours
    {State(1, 1, 0), 6, 1},
    {State(2, 1, 0), 2, 1},
    {State(3, 1, 0), 3, 1},
    {State(4, 1, 0), 1, 1},
    {State(5, 1, 0), 4, 1},
    {State(6, 1, 0), 4, 1},
    {State(7, 1, 0), 6, 1},
    {State(255, 1, 0), 6, 1},
    {State(-1, 1, 0), 6, 1},
    {State(SMALLEST, 1, 0), 6, 1},
    // modes
    {State(3, 0, 0), 3, 1},
    {State(3, 0, 2), 3, 1},
    {State(3, 1, 1), 3, 1},
    {State(3, 1, 500), 3, 1},
    {State(3, -5, 500), 3, 1},
    {State(3, SMALLEST, SMALLEST), 3, 1},
    {State(3, 2, 2), 3, 2},
    {State(3, 500, 125), 3, 2},
    {State(3, 500, 126), 3, 3},
    {State(3, LARGEST, LARGEST), 3, 3},
    {State(3, 500, 0), 3, 1, true},
    {State(3, 500, 1), 3, 1, true},
    {State(3, 500, -1), 3, 1, true},
    {State(3, 2, SMALLEST), 3, 1, true},
};

TEST_F(LedRows, StateBecomesColourCodeAndBlinkMode) {
    for (const EXTERNAL_CASE& l_Case : g_ExternalCases) {
        const std::string l_What = std::to_string(l_Case.m_State.m_Color) + " " +
                                   std::to_string(l_Case.m_State.m_OnTime) + "/" +
                                   std::to_string(l_Case.m_State.m_OffTime);
        const std::string l_Color = " i:" + std::to_string(l_Case.m_Color);
        const std::string l_Mode = " i:" + std::to_string(l_Case.m_Mode);
        CBMIParams l_Board;
        ConvertStateToExternalRow(&l_Board, l_Case.m_State);
        EXPECT_THAT(TextsOf(l_Board), ElementsAre("0x30102" + l_Color, "0x30103" + l_Mode)) << l_What;
        std::vector<LOG_LINE> l_Expected;
        if (l_Case.m_bInconsistent) {
            l_Expected = {
                Error("Inconsistant on off time -- defaulting to ON -- on=" + std::to_string(l_Case.m_State.m_OnTime) +
                      " off=" + std::to_string(l_Case.m_State.m_OffTime))};
        }
        EXPECT_EQ(Lines(), l_Expected) << l_What;
        CBMIParams l_AMC;
        ConvertStateToExternalAMCRow(&l_AMC, l_Case.m_State);
        EXPECT_THAT(TextsOf(l_AMC), ElementsAre("0x30303" + l_Color, "0x30304" + l_Mode)) << l_What;
        EXPECT_EQ(Lines(), l_Expected) << l_What;
    }
}

TEST_F(LedRows, NullExternalRowIsIgnored) {
    ConvertStateToExternalRow(nullptr, State(3, 1, 0));
    ConvertStateToExternalAMCRow(nullptr, State(3, 1, 0));
    EXPECT_THAT(Lines(), IsEmpty());
}

} // namespace
