// One LED's setting as OpenIPMI gives it: what an import reads, and what it tells of a failure.
#include "ipmi/model/IPMI_LEDState.h"

#include "fake/RecordingLog.h"
#include "fake/openipmi/FakeOpenIPMI.h"
#include "fake/openipmi/ModelReset.h"
#include "ipmi/LogText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <string>

using namespace BM_ADAPTOR;
using testing::ElementsAre;

namespace {

constexpr const char* GET_COLOR = "ipmi_light_setting_get_color";
constexpr const char* GET_ON_TIME = "ipmi_light_setting_get_on_time";
constexpr const char* GET_OFF_TIME = "ipmi_light_setting_get_off_time";
constexpr const char* IN_LOCAL_CONTROL = "ipmi_light_setting_in_local_control";

class LedState : public testing::Test {
protected:
    LedState() {
        Fake().Reset();
        g_Logger2 = &m_Log;
    }
    ~LedState() override {
        Fake().Reset();
        ResetModel();
    }

    RECORDING_LOG m_Log;
    LOG_LEVEL_GUARD m_TracesOn;
    ipmi_light_setting_s m_Settings{1, 20, 30, 3};
};

TEST_F(LedState, IsEmptyWhenMade) {
    const LED_STATE l_State;
    EXPECT_EQ(l_State.m_Valid, 0);
    EXPECT_EQ(l_State.m_Color, 0);
    EXPECT_EQ(l_State.m_OnTime, 0);
    EXPECT_EQ(l_State.m_OffTime, 0);
    EXPECT_EQ(l_State.m_LocalControl, 0);
    EXPECT_EQ(l_State.m_LampTestDuration, 0);
    EXPECT_EQ(l_State.m_Text, "");
    EXPECT_THAT(l_State.m_ColorSupported, testing::Each(false));
}

TEST_F(LedState, ImportsALightsSettingsAndReadsTheColourTwice) {
    LED_STATE l_State;
    l_State.m_LampTestDuration = 9;
    l_State.m_Text = "an earlier failure";
    l_State.ImportFromOPENIPMISettings(&m_Settings);
    EXPECT_EQ(l_State.m_Valid, 1);
    EXPECT_EQ(l_State.m_Color, 3);
    EXPECT_EQ(l_State.m_OnTime, 20);
    EXPECT_EQ(l_State.m_OffTime, 30);
    EXPECT_EQ(l_State.m_LocalControl, 1);
    EXPECT_EQ(l_State.m_LampTestDuration, 0);
    EXPECT_EQ(l_State.m_Text, "");
    EXPECT_THAT(Fake().Controls().m_Calls,
                ElementsAre(GET_COLOR, GET_ON_TIME, GET_OFF_TIME, IN_LOCAL_CONTROL, GET_COLOR));
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("LED_STATE :: ImportFromOPENIPMISettings")));
}

TEST_F(LedState, MadeFromSettingsImportsThem) {
    const LED_STATE l_State(m_Settings);
    EXPECT_EQ(l_State.m_Valid, 1);
    EXPECT_EQ(l_State.m_OffTime, 30);
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre(Trace("LED_STATE :: LED_STATE"), Trace("LED_STATE :: ImportFromOPENIPMISettings")));
}

TEST_F(LedState, ImportStopsAtTheFirstFailureAndTellsIt) {
    struct FAILURE {
        const char* m_Function;
        std::deque<int> m_Results;
        std::string m_Text;
        std::size_t m_Calls;
    };
    const FAILURE l_Failures[] = {
        {GET_COLOR, {22}, "ipmi_light_setting_get_color returned an error \x16", 1},
        {GET_ON_TIME, {7}, "ipmi_light_setting_get_on_time returned an error \x07", 2},
        {GET_OFF_TIME, {0x141}, "ipmi_light_setting_get_off_time returned an error A", 3},
        {IN_LOCAL_CONTROL, {-1}, "ipmi_light_setting_in_local_control returned an error \xFF", 4},
        {GET_COLOR, {0, 65}, "ipmi_light_setting_get_color returned an error A", 5},
    };
    for (const FAILURE& l_Failure : l_Failures) {
        Fake().Controls() = {};
        Fake().Controls().m_Results[l_Failure.m_Function] = l_Failure.m_Results;
        LED_STATE l_State;
        l_State.m_Valid = 1;
        l_State.ImportFromOPENIPMISettings(&m_Settings);
        EXPECT_EQ(l_State.m_Valid, 0);
        EXPECT_EQ(l_State.m_Text, l_Failure.m_Text);
        EXPECT_EQ(Fake().Controls().m_Calls.size(), l_Failure.m_Calls) << l_Failure.m_Text;
    }
}

TEST_F(LedState, ImportOfNothingIsNotValid) {
    LED_STATE l_State;
    l_State.m_Valid = 1;
    l_State.ImportFromOPENIPMISettings(nullptr);
    EXPECT_EQ(l_State.m_Valid, 0);
}

} // namespace
