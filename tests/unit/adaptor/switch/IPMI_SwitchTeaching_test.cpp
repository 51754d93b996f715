// Teaching the switch: which addresses it is told, in which order, and what ends the teaching.
#include "adaptor/switch/IPMI_SwitchTeaching.h"

#include "adaptor/BoardTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

DSP_TABLE TableOf(const TEXTS& a_Macs) {
    DSP_TABLE l_Table;
    for (const std::string& l_Mac : a_Macs)
        l_Table.push_back({l_Mac, ""});
    return l_Table;
}

int Teach(const TEXTS& a_Macs) {
    const DSP_TABLE l_Table = TableOf(a_Macs);
    return SWITCH_TEACHING(l_Table.data(), static_cast<int>(l_Table.size())).Teach();
}

int Smallest(const TEXTS& a_Macs) {
    const DSP_TABLE l_Table = TableOf(a_Macs);
    return SWITCH_TEACHING(l_Table.data(), static_cast<int>(l_Table.size())).FindSmallestMac();
}

class SwitchTeaching : public BOARD_TEST {};

TEST_F(SwitchTeaching, TellsEveryDspAndThenBothCpus) {
    EXPECT_EQ(Teach({"02:00:00:00:00:12", "02:00:00:00:00:13", "02:00:00:00:00:14"}), 1);
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("LearnByDSP 0 02:00:00:00:00:12", "LearnByDSP 1 02:00:00:00:00:13",
                                                   "LearnByDSP 2 02:00:00:00:00:14", "Learn 7 02:00:00:00:00:10",
                                                   "Learn 8 02:00:00:00:00:11"));
}

TEST_F(SwitchTeaching, LogsEveryStepAsAnError) {
    Teach({"02:01:AB:CD:EF:12"});
    TEXTS l_Texts;
    for (const LOG_LINE& l_Line : Lines()) {
        EXPECT_EQ(l_Line.m_Level, 3);
        EXPECT_EQ(l_Line.m_Component, "IPMI Adaptor");
        l_Texts.push_back(l_Line.m_Text);
    }
    EXPECT_THAT(l_Texts, testing::ElementsAreArray({
                             "TRACE Teaching the Offload Board Switch about the MACs and the Bees!",
                             "TRACE Calculating Both CPU MACs which are based on the smallest DSP MAC Value",
                             "TRACE Smallest MAC is 02:01:AB:CD:EF:12",
                             "TRACE [New LearnBy API ] Teach Switch about DSP MAC Addresses",
                             "TRACE calling MavkAmcSwitchMACLearn for DSP 0",
                             "TRACE Sending MAC-DSP 0 HexVal[0]=2",
                             "TRACE Sending MAC-DSP 0 HexVal[1]=1",
                             "TRACE Sending MAC-DSP 0 HexVal[2]=ab",
                             "TRACE Sending MAC-DSP 0 HexVal[3]=cd",
                             "TRACE Sending MAC-DSP 0 HexVal[4]=ef",
                             "TRACE Sending MAC-DSP 0 HexVal[5]=12",
                             "TRACE Calling mavkAmcSwitchMACLearnByDSP",
                             "TRACE Sending to Switch CPU1 MAC Addresses",
                             "TRACE CPU 1 MAC Address Hex val[0]=2",
                             "TRACE CPU 1 MAC Address Hex val[1]=1",
                             "TRACE CPU 1 MAC Address Hex val[2]=ab",
                             "TRACE CPU 1 MAC Address Hex val[3]=cd",
                             "TRACE CPU 1 MAC Address Hex val[4]=ef",
                             "TRACE CPU 1 MAC Address Hex val[5]=10",
                             "TRACE Sending to Switch CPU2 MAC Addresses",
                             "TRACE CPU2 MAC Address Hex val[0]=2",
                             "TRACE CPU2 MAC Address Hex val[1]=1",
                             "TRACE CPU2 MAC Address Hex val[2]=ab",
                             "TRACE CPU2 MAC Address Hex val[3]=cd",
                             "TRACE CPU2 MAC Address Hex val[4]=ef",
                             "TRACE CPU2 MAC Address Hex val[5]=11",
                             "TRACE Done Teaching the Offload Board Switch about the MACs and the Bees!",
                         }));
}

TEST_F(SwitchTeaching, LogsEveryStepAtEveryLevel) {
    Teach({"02:01:AB:CD:EF:12", "02:01:AB:CD:EF:13"});
    const auto l_Expected = Lines();
    for (const int l_Level : {0, 1, 2, 4, 7}) {
        BM_LOG_LEVEL = l_Level;
        EXPECT_EQ(Teach({"02:01:AB:CD:EF:12", "02:01:AB:CD:EF:13"}), 1);
        EXPECT_EQ(Lines(), l_Expected) << l_Level;
    }
}

TEST_F(SwitchTeaching, CpusComeBeforeTheSmallestDspWhereverItStands) {
    EXPECT_EQ(Teach({"02:00:00:00:00:20", "02:00:00:00:00:02"}), 1);
    EXPECT_THAT(BoardDriver().m_Calls,
                testing::IsSupersetOf({"Learn 7 02:00:00:00:00:00", "Learn 8 02:00:00:00:00:01"}));
}

TEST_F(SwitchTeaching, WrappedDspIsTheSmallest) {
    EXPECT_EQ(Teach({"02:01:FF:FF:FF:FF", "02:01:00:00:00:00"}), 1);
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("LearnByDSP 0 02:01:FF:FF:FF:FF", "LearnByDSP 1 02:01:00:00:00:00",
                                                   "Learn 7 02:01:FF:FF:FF:FE", "Learn 8 02:01:FF:FF:FF:FF"));
}

TEST_F(SwitchTeaching, TextThatIsNoAddressIsTaughtAsZeros) {
    EXPECT_EQ(Teach({"no address"}), 1);
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("LearnByDSP 0 00:00:00:00:00:00", "Learn 7 00:00:00:00:00:00",
                                                   "Learn 8 00:00:00:00:00:00"));
}

TEST_F(SwitchTeaching, OfNoDspDoesNothing) {
    EXPECT_EQ(SWITCH_TEACHING(nullptr, 4).Teach(), 0);
    EXPECT_EQ(Teach({}), 0);
    EXPECT_THAT(BoardDriver().m_Calls, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

struct TEACHING_ERROR {
    const char* m_Call; ///< the call that fails
    const char* m_Error;
    std::size_t m_Calls; ///< that were made, this one included
};

void PrintTo(const TEACHING_ERROR& a_Case, std::ostream* a_Stream) {
    *a_Stream << a_Case.m_Call;
}

class TeachingError : public SwitchTeaching, public testing::WithParamInterface<TEACHING_ERROR> {};

TEST_P(TeachingError, EndsTheTeaching) {
    BoardDriver().m_Errors = {{GetParam().m_Call, 0x1f}};
    EXPECT_EQ(Teach({"02:00:00:00:00:12", "02:00:00:00:00:13"}), 0x30012);
    EXPECT_THAT(BoardDriver().m_Calls, testing::SizeIs(GetParam().m_Calls));
    EXPECT_EQ(Lines().back(), BmiError(GetParam().m_Error));
}

INSTANTIATE_TEST_SUITE_P(
    Calls, TeachingError,
    testing::Values(
        TEACHING_ERROR{"LearnByDSP 0 02:00:00:00:00:12",
                       "Switch return error =1f while programming Switch with DSP 0 MAC", 1},
        TEACHING_ERROR{"LearnByDSP 1 02:00:00:00:00:13",
                       "Switch return error =1f while programming Switch with DSP 1 MAC", 2},
        TEACHING_ERROR{"Learn 7 02:00:00:00:00:10", "Switch return error =1f while programming CPU1 MAC", 3},
        TEACHING_ERROR{"Learn 8 02:00:00:00:00:11", "Switch return error =1f while programming CPU2 MAC", 4}));

// ---- the smallest

TEST(SmallestMac, IsFoundByTheTexts) {
    EXPECT_EQ(Smallest({"b", "a", "c"}), 1);
    EXPECT_EQ(Smallest({"a", "a", "a"}), 0); // the earliest wins
    EXPECT_EQ(Smallest({"b", "a", "a"}), 1);
    EXPECT_EQ(Smallest({"00:11", "00:1"}), 1); // a beginning is smaller
    EXPECT_EQ(Smallest({"0A", "0a"}), 0);      // by bytes
    EXPECT_EQ(Smallest({"\x7f", "\x80"}), 0);  // which are unsigned
    EXPECT_EQ(Smallest({"9", "10"}), 1);       // and no numbers
    EXPECT_EQ(Smallest({"a"}), 0);
    EXPECT_EQ(Smallest({}), 0);
    EXPECT_EQ(SWITCH_TEACHING(nullptr, 3).FindSmallestMac(), 0);
}

TEST(CpuMacs, AreTheTwoBeforeTheSmallest) {
    const CPU_MACS l_CPUs = SWITCH_TEACHING::CPUMacsOf("02:01:00:00:00:01");
    EXPECT_EQ(l_CPUs.m_CPU1.Text(), "02:01:FF:FF:FF:FF");
    EXPECT_EQ(l_CPUs.m_CPU2.Text(), "02:01:00:00:00:00");
    const CPU_MACS l_None = SWITCH_TEACHING::CPUMacsOf("no address at all");
    EXPECT_EQ(l_None.m_CPU1, MAC_ADDRESS{});
    EXPECT_EQ(l_None.m_CPU2, MAC_ADDRESS{});
}

} // namespace
