// Writes of the baseboard's LEDs, as far as they are served: under the complete simulation.
#include "adaptor/AdaptorTest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;

namespace {

class BaseboardLedWrite : public ADAPTOR_TEST {
protected:
    static LOG_LINE Entry() {
        return Trace(FormatText("IPMIAdaptor :: Baseboard_LED_WriteParams (threadid=%x)", ThreadId()));
    }

    CBMIKeys m_Keys = KeyOf(BMI_HW_BB_LED_ID, 2);
};

TEST_F(BaseboardLedWrite, ChangesNothingAndSucceedsUnderTheCompleteSimulation) {
    g_bCompleteIPMISimulation = true;
    EXPECT_EQ(m_Adaptor.Baseboard_LED_WriteParams(&m_Keys, &m_Row), 1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Entry(), Trace("IPMIAdaptor::Baseboard_LED_WriteParams - g_bCompleteIPMISimulation= true")));
    EXPECT_EQ(Fake().SentCount(), 0U);
}

TEST_F(BaseboardLedWrite, DoesNothingOnARealBlade) {
    EXPECT_EQ(m_Adaptor.Baseboard_LED_WriteParams(&m_Keys, &m_Row), 0);
    EXPECT_THAT(Lines(), ElementsAre(Entry()));
}

TEST_F(BaseboardLedWrite, NullArgumentsGive2) {
    EXPECT_EQ(m_Adaptor.Baseboard_LED_WriteParams(nullptr, &m_Row), 2);
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error("IPMIAdaptor::Baseboard_LED_WriteParams - pKeys==NULL")));
    EXPECT_EQ(m_Adaptor.Baseboard_LED_WriteParams(&m_Keys, nullptr), 2);
    EXPECT_THAT(Lines(), ElementsAre(Entry(), Error("IPMIAdaptor::Baseboard_LED_WriteParams - pParamRow==NULL")));
}

TEST_F(BaseboardLedWrite, WithoutTheLedsIdItAnswersNotFound) {
    g_bCompleteIPMISimulation = true;
    CBMIKeys l_Other = KeyOf(BMI_HW_BB_LED_TYPE, 2);
    EXPECT_EQ(m_Adaptor.Baseboard_LED_WriteParams(&l_Other, &m_Row), 12);
}

TEST_F(BaseboardLedWrite, OutsideTheStartedStateItLogsAndCarriesOn) {
    g_bCompleteIPMISimulation = true;
    BeInState(1);
    EXPECT_EQ(m_Adaptor.Baseboard_LED_WriteParams(&m_Keys, &m_Row), 1);
    EXPECT_EQ(Lines().at(1), Error("IPMIAdaptor :: Baseboard_LED_WriteParams -- In bad state 1"));
}

TEST_F(BaseboardLedWrite, IsReachedThroughTheInternalGroup) {
    g_bCompleteIPMISimulation = true;
    EXPECT_EQ(m_Adaptor.WriteParams(0x100, &m_Keys, &m_Row), 1);
    EXPECT_THAT(Lines(),
                ElementsAre(BmiTrace("IPMIAdaptor::WriteParams() on BMI_GROUP_BM_IPMI_BASEBOARD_LED"), Entry(),
                            Trace("IPMIAdaptor::Baseboard_LED_WriteParams - g_bCompleteIPMISimulation= true")));
}

} // namespace
