// What start-up learns of the RTM, and the kernel parameter of the number of DSPs.
#include "adaptor/BoardTest.h"

#include "common/veldo_common_rows.h"
#include "fake/FakeParams.h"

#include <cstdlib>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RtmInfo : public BOARD_TEST {
protected:
    std::vector<int> Info() {
        return {Access::RTMPresent(m_Adaptor), Access::NumFramers(m_Adaptor), Access::TrunksPerFramer(m_Adaptor),
                Access::TrunkTotal(m_Adaptor)};
    }

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
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 1);
    EXPECT_THAT(Info(), ElementsAre(1, 8, 4, 32));
    m_Board.m_Environment["MAVK_RTM"] = "1";
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 12);
    EXPECT_THAT(Info(), ElementsAre(0, 8, 4, 32));
}

TEST_F(RtmInfo, OfASimulatedRtmWithoutDigitsIsMinusOne) {
    m_Board.m_Environment["MAVK_RTM"] = "2";
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 1);
    EXPECT_THAT(Info(), ElementsAre(1, -1, -1, 1));
}

TEST_F(RtmInfo, OfAMissingRowFails) {
    EXPECT_EQ(Access::mKeepRTMInfo(m_Adaptor, static_cast<const CBMIParams*>(nullptr)), 0x30011);
    EXPECT_THAT(Lines(), ElementsAre(IpmiError("Fail to get Row[0] of RTM Table in GetAmcRtmInfo()")));
}

TEST_F(RtmInfo, SaysThatThereIsAnRtmThoughItsRowIsMissing) {
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    FakeParams().m_bHidesRows = true;
    EXPECT_EQ(Access::mInitRTMInfo(m_Adaptor), 0x30011);
    FakeParams() = {};
    EXPECT_THAT(Info(), ElementsAre(1, 0, 0, 0));
}

TEST_F(RtmInfo, OfARowWithoutFramersFails) {
    AddInt(m_Row, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, 4);
    EXPECT_EQ(Access::mKeepRTMInfo(m_Adaptor, &m_Row), 0x30011);
    EXPECT_THAT(Lines(),
                ElementsAre(IpmiError("Fail to get BMI_HW_RTM_FRU_NUM_FRAMERS of RTM Table in mInitRTMInfo()")));
    EXPECT_THAT(Info(), ElementsAre(0, 0, 0, 0));
}

TEST_F(RtmInfo, OfARowWithoutTrunksKeepsTheEarlierOnes) {
    Access::TrunksPerFramer(m_Adaptor) = 3;
    AddInt(m_Row, BMI_HW_RTM_FRU_NUM_FRAMERS, 5);
    EXPECT_EQ(Access::mKeepRTMInfo(m_Adaptor, &m_Row), 1);
    EXPECT_THAT(Info(), ElementsAre(0, 5, 3, 15));
}

// ---- the kernel parameter

TEST_F(RtmInfo, KernelParameterIs1ForThreeDspsOnly) {
    for (const int l_Count : {0, 1, 2, 3, 4, 32}) {
        EXPECT_EQ(Access::mSetDepop(m_Adaptor, l_Count), 1);
        EXPECT_EQ(Kernel().m_Parameter, l_Count == 3 ? 1 : 0) << l_Count;
    }
    EXPECT_THAT(Kernel().m_ParameterName, ElementsAre(555, 2));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RtmInfo, KernelWithoutTheParameterIsReportedAndPassedOver) {
    Kernel().m_bNoParameter = true;
    EXPECT_EQ(Access::mSetDepop(m_Adaptor, 4), 1);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Fail to set REMAP value with 4 DSPs")));
}

} // namespace
