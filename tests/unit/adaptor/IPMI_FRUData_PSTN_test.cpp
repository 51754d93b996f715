// The RTM override of the environment variable MAVK_RTM.
#include "adaptor/AdaptorTest.h"

#include <cstdlib>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct OVERRIDE {
    const char* m_Variable; ///< null: unset
    int m_Mode;
    std::vector<int> m_Values; ///< framer type, framers, trunks; -1 as the caller set them
};

void PrintTo(const OVERRIDE& a_Override, std::ostream* a_Stream) {
    *a_Stream << "MAVK_RTM " << (a_Override.m_Variable != nullptr ? a_Override.m_Variable : "unset");
}

const std::vector<int> UNTOUCHED = {-1, -1, -1};

class RtmOverride : public ADAPTOR_TEST, public testing::WithParamInterface<OVERRIDE> {};

TEST_P(RtmOverride, GivesModeAndValues) {
    if (GetParam().m_Variable != nullptr) setenv("MAVK_RTM", GetParam().m_Variable, 1);
    std::vector<int> l_Values = UNTOUCHED;
    EXPECT_EQ(m_Adaptor.ReadRTMConfig(&l_Values[0], &l_Values[1], &l_Values[2]), GetParam().m_Mode);
    EXPECT_EQ(l_Values, GetParam().m_Values);
}

INSTANTIATE_TEST_SUITE_P(
    Values, RtmOverride,
    testing::Values(OVERRIDE{nullptr, 0, UNTOUCHED}, OVERRIDE{"", 0, UNTOUCHED}, // set, but no digit
                    OVERRIDE{"0", 0, UNTOUCHED}, OVERRIDE{"0184", 0, UNTOUCHED}, // the digits behind are ignored
                    OVERRIDE{"1", 1, UNTOUCHED}, OVERRIDE{"1184", 1, UNTOUCHED}, OVERRIDE{"2184", 2, {1, 8, 4}},
                    OVERRIDE{"2000", 2, {0, 0, 0}}, OVERRIDE{"2999", 2, {9, 9, 9}},
                    OVERRIDE{"218477", 2, {1, 8, 4}},                              // nothing behind the fourth counts
                    OVERRIDE{"2x8-", 2, {0, 8, 0}},                                // no digit is 0
                    OVERRIDE{"2", 2, UNTOUCHED},                                   // too short
                    OVERRIDE{"218", 2, UNTOUCHED}, OVERRIDE{"3184", 3, UNTOUCHED}, // passed on
                    OVERRIDE{"9", 9, UNTOUCHED}, OVERRIDE{"x184", 0, UNTOUCHED},   // no digit is 0
                    OVERRIDE{"/184", 0, UNTOUCHED}, OVERRIDE{":184", 0, UNTOUCHED}));

using RtmOverrideLines = ADAPTOR_TEST;

TEST_F(RtmOverrideLines, TooShortASimulationIsReported) {
    int l_Value = -1;
    for (const std::string l_Text : {"2", "21", "218"}) {
        setenv("MAVK_RTM", l_Text.c_str(), 1);
        EXPECT_EQ(m_Adaptor.ReadRTMConfig(&l_Value, &l_Value, &l_Value), 2);
        EXPECT_THAT(Lines(), ElementsAre(Error("Invalid simuation data = " + l_Text)));
    }
}

TEST_F(RtmOverrideLines, AnyOtherValueIsTakenSilently) {
    int l_Value = -1;
    for (const char* l_Text : {"", "0", "1", "2184", "3"}) {
        setenv("MAVK_RTM", l_Text, 1);
        m_Adaptor.ReadRTMConfig(&l_Value, &l_Value, &l_Value);
        EXPECT_THAT(Lines(), IsEmpty());
    }
}

} // namespace
