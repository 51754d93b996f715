// The blade that is made of what a controller answered, and the replies that a blade has no words for.
#include "sim/capture/ComposeBlade.h"

#include "SimulatedController.h"
#include "sim/capture/Requests.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {

class ComposeBladeTest : public testing::Test {
protected:
    Blade Compose() {
        Conversation conversation = m_controller.Talk();
        m_captured = ReadController(conversation);
        return ComposeBlade(m_captured, [this](const std::string& line) { m_told.push_back(line); });
    }

    SimulatedController m_controller;
    CapturedController m_captured;
    std::vector<std::string> m_told;
};

} // namespace

TEST_F(ComposeBladeTest, NeedsNoKeptRepliesForASoundCarrier) {
    const Blade blade = Compose();
    EXPECT_THAT(blade.m_replies, IsEmpty());
    EXPECT_THAT(blade.m_faults, IsEmpty());
    EXPECT_EQ(blade.m_controller.m_address, 0x82);
    EXPECT_EQ(blade.m_controller.m_manufacturerId, 0x017ED9U);
    ASSERT_THAT(blade.m_frus, SizeIs(3)) << "ids that the controller refuses are no FRUs";
    EXPECT_EQ(blade.m_frus[1].m_id, 2);
    EXPECT_EQ(blade.m_frus[1].m_site.m_type, 7);
    EXPECT_EQ(blade.m_frus[1].m_leds[2].m_id, 4);
    EXPECT_FALSE(blade.m_frus[1].m_leds[2].m_localControl);
    EXPECT_FALSE(blade.m_frus[1].m_inventory);
    EXPECT_FALSE(blade.m_frus[0].m_leds[1].m_local);
}

TEST_F(ComposeBladeTest, KeepsWhatItHasNoWordsFor) {
    m_controller.m_answers[AddressInfoOf(2)] = {{0xC1}};
    m_controller.m_answers[LedColorsOf(0, 1)] = {{0, 0}};
    EXPECT_THAT(Compose().m_replies,
                ElementsAre(Pair(AddressInfoOf(2), ElementsAre(0xC1)), Pair(LedColorsOf(0, 1), ElementsAre(0, 0))));
}

TEST_F(ComposeBladeTest, HasTheLEDsAsTheyAre) {
    m_controller.m_answers[LedStateOf(0, 1)] = {{0, 0, 3, 10, 20, 4, 0xFF, 0, 2}};
    const Blade blade = Compose();
    const Led& led = blade.m_frus[0].m_leds[1];
    ASSERT_TRUE(led.m_local && led.m_override);
    EXPECT_EQ(led.m_local->m_function, 10);
    EXPECT_EQ(led.m_local->m_onDuration, 20);
    EXPECT_EQ(led.m_local->m_color, LedColor::Amber);
    EXPECT_EQ(led.m_override->m_function, 0xFF);
    EXPECT_EQ(led.m_override->m_color, LedColor::Red);
    EXPECT_THAT(blade.m_replies, IsEmpty());
}

TEST_F(ComposeBladeTest, ForgetsALampTest) {
    m_controller.m_answers[LedStateOf(0, 1)] = {{0, 0, 5, 0, 0, 2, 0, 0, 4, 99}};
    EXPECT_THAT(Compose().m_replies, IsEmpty());
}

TEST_F(ComposeBladeTest, HasNoReplyToWhatIsNeverAnswered) {
    m_controller.m_answers[LedStateOf(0, 1)] = {{}};
    const Blade blade = Compose();
    EXPECT_THAT(blade.m_faults, SizeIs(1));
    EXPECT_THAT(blade.m_replies, IsEmpty());
}

TEST_F(ComposeBladeTest, CutsAReplyThatTheSimulatorHasNoRoomFor) {
    Bytes reply(40, 1);
    reply[0] = 0;
    m_controller.m_answers[LedPropertiesOf(7)] = {reply};
    EXPECT_THAT(Compose().m_replies.at(LedPropertiesOf(7)), SizeIs(36));
    EXPECT_THAT(m_told, ElementsAre("the reply to 2c 05 00 07 is cut to 36 bytes"));
}

TEST_F(ComposeBladeTest, KnowsAControllerWithoutPICMG) {
    Blade other = WholeCarrier();
    other.m_controller.m_picmg = false;
    m_controller.m_responder = Responder(other);
    const Blade blade = Compose();
    EXPECT_FALSE(blade.m_controller.m_picmg);
    EXPECT_THAT(blade.m_frus, SizeIs(1));
    EXPECT_THAT(blade.m_replies, IsEmpty());
}
