// What start-up learns of the RTM.
#include "adaptor/startup/IPMI_RTMInfo.h"

#include "adaptor/BoardTest.h"

#include "common/veldo_common_rows.h"

#include <cstdlib>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RtmInfo : public BOARD_TEST {
protected:
    std::vector<int> Info() {
        const RTM_VALUES& l_RTM = Access::RTM(m_Adaptor);
        return {l_RTM.m_Present, l_RTM.m_NumFramers, l_RTM.m_TrunksPerFramer, l_RTM.m_TrunkTotal};
    }

    /// Takes these rows of a table that could be read.
    int Take(const std::vector<const CBMIParams*>& a_Rows) { return RTM_INFO(Access::RTM(m_Adaptor)).Take(1, a_Rows); }
    /// An override of the RTM.
    void Override(const char* a_Digits) { m_Board.m_Environment["MAVK_RTM"] = a_Digits; }

    LOG_LINE IpmiError(const std::string& a_Text) { return {BM_LOG_ERROR, "IPMI", a_Text}; }
};

TEST_F(RtmInfo, IsNothingBeforeItWasRead) {
    EXPECT_THAT(Info(), ElementsAre(0, 0, 0, 0));
}

TEST_F(RtmInfo, HoldsFramersAndTrunks) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, 9), "RTM"), RTMRecord(8, 1, 4));
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 1);
    EXPECT_THAT(Info(), ElementsAre(1, 8, 4, 32));
}

TEST_F(RtmInfo, OfNoRtmGivesTheReadsResultAndKeepsTheFramers) {
    Override("2184");
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 1);
    EXPECT_THAT(Info(), ElementsAre(1, 8, 4, 32));
    Override("1");
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 12);
    EXPECT_THAT(Info(), ElementsAre(0, 8, 4, 32));
}

TEST_F(RtmInfo, OfASimulatedRtmWithoutDigitsIsMinusOne) {
    Override("2");
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 1);
    EXPECT_THAT(Info(), ElementsAre(1, -1, -1, 1));
}

TEST_F(RtmInfo, SaysThatThereIsAnRtmThoughItsRowIsMissing) {
    EXPECT_EQ(Take({nullptr}), 0x30011);
    EXPECT_THAT(Lines(), ElementsAre(IpmiError("Fail to get Row[0] of RTM Table in GetAmcRtmInfo()")));
    EXPECT_THAT(Info(), ElementsAre(1, 0, 0, 0));
}

TEST_F(RtmInfo, OfATableWithoutRowsIsThatThereIsNoRtm) {
    Access::RTM(m_Adaptor).m_Present = 1;
    EXPECT_EQ(Take({}), 1);
    EXPECT_THAT(Info(), ElementsAre(0, 0, 0, 0));
}

TEST_F(RtmInfo, OfARowWithoutFramersFails) {
    AddInt(m_Row, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, 4);
    EXPECT_EQ(Take({&m_Row}), 0x30011);
    EXPECT_THAT(Lines(),
                ElementsAre(IpmiError("Fail to get BMI_HW_RTM_FRU_NUM_FRAMERS of RTM Table in mInitRTMInfo()")));
    EXPECT_THAT(Info(), ElementsAre(1, 0, 0, 0));
}

TEST_F(RtmInfo, OfARowWithoutTrunksKeepsTheEarlierOnes) {
    Access::RTM(m_Adaptor).m_TrunksPerFramer = 3;
    AddInt(m_Row, BMI_HW_RTM_FRU_NUM_FRAMERS, 5);
    EXPECT_EQ(Take({&m_Row}), 1);
    EXPECT_THAT(Info(), ElementsAre(1, 5, 3, 15));
}

} // namespace
