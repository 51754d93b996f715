// The overrides of the environment: the AMC's, the RTM's, and the latter's as a file.
#include "adaptor/hardware/IPMI_Overrides.h"

#include "adaptor/hardware/HardwareTest.h"

#include <optional>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// ---- the AMC's

class AmcOverride : public HARDWARE_TEST {
protected:
    /// Bay and both fields; empty when there is no override.
    std::vector<int> Read() {
        const auto l_Override = AMCOverride(m_Board);
        if (!l_Override) return {};
        return {l_Override->m_Bay, l_Override->m_FieldA, l_Override->m_FieldB};
    }
    std::vector<int> ReadOf(const char* a_Text) {
        m_Board.m_Environment["MAVK_AMC"] = a_Text;
        return Read();
    }
};

TEST_F(AmcOverride, HoldsBayAndFieldsInItsSecondToFourthCharacter) {
    EXPECT_THAT(ReadOf("x312"), ElementsAre(3, 1, 2));
    EXPECT_THAT(ReadOf("0999"), ElementsAre(9, 9, 9));
    EXPECT_THAT(ReadOf("131299"), ElementsAre(3, 1, 2));
}

TEST_F(AmcOverride, CharacterThatIsNoDigitIsZero) {
    EXPECT_THAT(ReadOf("1/:x"), ElementsAre(0, 0, 0));
}

TEST_F(AmcOverride, UnsetOrTooShortIsNone) {
    EXPECT_THAT(Read(), IsEmpty());
    for (const char* l_Text : {"", "1", "13", "131"})
        EXPECT_THAT(ReadOf(l_Text), IsEmpty()) << l_Text;
}

// ---- the RTM's

struct OVERRIDE {
    const char* m_Variable; ///< null: unset
    int m_Mode;
    std::vector<int> m_Values; ///< framer type, framers, trunks; -1 as the caller set them
};

void PrintTo(const OVERRIDE& a_Override, std::ostream* a_Stream) {
    *a_Stream << "MAVK_RTM " << (a_Override.m_Variable != nullptr ? a_Override.m_Variable : "unset");
}

const std::vector<int> UNTOUCHED = {-1, -1, -1};

class RtmOverride : public HARDWARE_TEST, public testing::WithParamInterface<OVERRIDE> {};

TEST_P(RtmOverride, GivesModeAndValues) {
    if (GetParam().m_Variable != nullptr) m_Board.m_Environment["MAVK_RTM"] = GetParam().m_Variable;
    std::vector<int> l_Values = UNTOUCHED;
    EXPECT_EQ(RTM_OVERRIDE(m_Frame).ReadRTMConfig(&l_Values[0], &l_Values[1], &l_Values[2]), GetParam().m_Mode);
    EXPECT_EQ(l_Values, GetParam().m_Values);
}

INSTANTIATE_TEST_SUITE_P(
    Values, RtmOverride,
    testing::Values(OVERRIDE{nullptr, 0, UNTOUCHED}, OVERRIDE{"", 0, UNTOUCHED}, // set, but no digit
                    OVERRIDE{"0", 0, UNTOUCHED}, OVERRIDE{"0184", 0, UNTOUCHED}, // the other digits are ignored
                    OVERRIDE{"1", 1, UNTOUCHED}, OVERRIDE{"1184", 1, UNTOUCHED}, OVERRIDE{"2184", 2, {1, 8, 4}},
                    OVERRIDE{"2000", 2, {0, 0, 0}}, OVERRIDE{"2999", 2, {9, 9, 9}},
                    OVERRIDE{"218477", 2, {1, 8, 4}},                              // nothing after the fourth counts
                    OVERRIDE{"2x8-", 2, {0, 8, 0}},                                // no digit is 0
                    OVERRIDE{"2", 2, UNTOUCHED},                                   // too short
                    OVERRIDE{"218", 2, UNTOUCHED}, OVERRIDE{"3184", 3, UNTOUCHED}, // passed on
                    OVERRIDE{"9", 9, UNTOUCHED}, OVERRIDE{"x184", 0, UNTOUCHED},   // no digit is 0
                    OVERRIDE{"/184", 0, UNTOUCHED}, OVERRIDE{":184", 0, UNTOUCHED}));

using RtmOverrideLines = HARDWARE_TEST;

TEST_F(RtmOverrideLines, TooShortASimulationIsReported) {
    int l_Value = -1;
    for (const std::string l_Text : {"2", "21", "218"}) {
        m_Board.m_Environment["MAVK_RTM"] = l_Text;
        EXPECT_EQ(RTM_OVERRIDE(m_Frame).ReadRTMConfig(&l_Value, &l_Value, &l_Value), 2);
        EXPECT_THAT(Lines(), ElementsAre(Error("Invalid simuation data = " + l_Text)));
    }
}

TEST_F(RtmOverrideLines, AnyOtherValueIsTakenSilently) {
    int l_Value = -1;
    for (const char* l_Text : {"", "0", "1", "2184", "3"}) {
        m_Board.m_Environment["MAVK_RTM"] = l_Text;
        RTM_OVERRIDE(m_Frame).ReadRTMConfig(&l_Value, &l_Value, &l_Value);
        EXPECT_THAT(Lines(), IsEmpty());
    }
}

// ---- the override file

class RtmOverrideFile : public HARDWARE_TEST {
protected:
    /// Mode and values of a file with these lines.
    std::vector<int> Read(const std::optional<TEXTS>& a_Lines) {
        m_Board.m_OverrideLines = a_Lines;
        std::vector<int> l_Values = {7, 7, 7, 7};
        l_Values[0] = RTM_OVERRIDE(m_Frame).ReadRTMConfigFile(&l_Values[1], &l_Values[2], &l_Values[3]);
        return l_Values;
    }
};

TEST_F(RtmOverrideFile, HoldsModeAndValuesInFourLines) {
    EXPECT_THAT(Read(TEXTS{"2\n", "1\n", "8\n", "4\n"}), ElementsAre(2, 1, 8, 4));
    EXPECT_THAT(Read(TEXTS{"2\n", "1\n", "8\n", "4"}), ElementsAre(2, 1, 8, 4));
    EXPECT_THAT(Read(TEXTS{"0\n", "11\n", "-2\n", "300\n"}), ElementsAre(0, 11, -2, 300));
}

TEST_F(RtmOverrideFile, LineWithoutANumberIsZero) {
    EXPECT_THAT(Read(TEXTS{"two\n", "\n", " 8 of them\n", "x4\n"}), ElementsAre(0, 0, 8, 0));
}

TEST_F(RtmOverrideFile, WithFewerLinesKeepsWhatItReadAndGivesZero) {
    EXPECT_THAT(Read(TEXTS{"2\n", "1\n", "8\n"}), ElementsAre(0, 1, 8, -1));
    EXPECT_THAT(Read(TEXTS{"2\n"}), ElementsAre(0, -1, -1, -1));
    EXPECT_THAT(Read(TEXTS{}), ElementsAre(0, -1, -1, -1));
}

TEST_F(RtmOverrideFile, ThatIsNotThereGivesMinusOne) {
    EXPECT_THAT(Read(std::nullopt), ElementsAre(-1, -1, -1, -1));
}

TEST_F(RtmOverrideFile, EachPartOfALongLineIsALine) {
    EXPECT_THAT(Read(TEXTS{std::string(1023, '0'), "1\n", "8\n", "4\n"}), ElementsAre(0, 1, 8, 4));
}

} // namespace
