// What a controller is asked during a capture, in which order, and what becomes of short and odd replies.
#include "sim/capture/ReadController.h"

#include "SimulatedController.h"
#include "sim/base/Error.h"
#include "sim/capture/Requests.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

Blade WithArea(size_t size) {
    Blade blade = WholeCarrier();
    blade.m_frus.resize(1);
    blade.m_frus[0].m_leds.clear();
    blade.m_frus[0].m_inventory.emplace().m_raw.emplace(size, uint8_t{0xAB});
    return blade;
}

class ReadControllerTest : public testing::Test {
protected:
    CapturedController Read(SimulatedController& controller) {
        Conversation conversation = controller.Talk();
        return ReadController(conversation);
    }
};

} // namespace

TEST_F(ReadControllerTest, ReadsEveryFRUUpToTheHighest) {
    SimulatedController controller;
    const CapturedController captured = Read(controller);
    EXPECT_EQ(captured.m_maxFru, 7);
    EXPECT_THAT(captured.m_images, SizeIs(2));
    for (uint8_t fru = 0; fru <= 7; ++fru)
        EXPECT_TRUE(captured.m_replies.contains(AddressInfoOf(fru))) << int{fru};
    EXPECT_EQ(captured.m_replies.at(AddressInfoOf(1)), Bytes{0xC9});
    EXPECT_TRUE(captured.m_replies.contains(LedStateOf(2, 4)));
    EXPECT_FALSE(captured.m_replies.contains(LedStateOf(2, 1)));
}

TEST_F(ReadControllerTest, AsksInTheOrderOfTheProbe) {
    SimulatedController controller(WithArea(32));
    Read(controller);
    EXPECT_THAT(controller.m_asked, ElementsAre(DeviceIdRequest, PicmgPropertiesRequest, AddressInfoOf(0),
                                                LedPropertiesOf(0), AreaInfoOf(0), AreaReadOf(0, 0), AreaReadOf(0, 16),
                                                Bytes{0x0A, 0x22}, Bytes{0x0A, 0x23, 0, 0, 0, 0, 0, 5}));
}

TEST_F(ReadControllerTest, AsksOnceBeyondAnAreaThatEndsWithinAChunk) {
    SimulatedController controller(WithArea(40));
    const CapturedController captured = Read(controller);
    EXPECT_EQ(captured.m_images.at(0), Bytes(40, 0xAB));
    EXPECT_EQ(captured.m_replies.at(AreaReadOf(0, 48)), Bytes{0xC9});
}

TEST_F(ReadControllerTest, TakesWhatIsThereOfAShortReply) {
    SimulatedController controller(WithArea(32));
    controller.m_answers[AreaReadOf(0, 0)] = {{0, 16, 1, 2, 3}};
    controller.m_answers[AreaReadOf(0, 16)] = {{0xC1}};
    const Bytes image = Read(controller).m_images.at(0);
    ASSERT_THAT(image, SizeIs(32));
    EXPECT_EQ(Bytes(image.begin(), image.begin() + 4), (Bytes{1, 2, 3, 0}));
    EXPECT_THAT(Bytes(image.begin() + 16, image.end()), Each(0));
}

TEST_F(ReadControllerTest, TakesNoMoreThanItAskedFor) {
    SimulatedController controller(WithArea(16));
    Bytes reply(40, 7);
    reply[0] = 0;
    reply[1] = 38;
    controller.m_answers[AreaReadOf(0, 0)] = {reply};
    const CapturedController captured = Read(controller);
    EXPECT_EQ(captured.m_images.at(0), Bytes(16, 7));
    EXPECT_EQ(captured.m_replies.at(AreaReadOf(0, 0)), reply);
}

TEST_F(ReadControllerTest, AsksAControllerWithoutPICMGForFRU0Only) {
    Blade blade = WholeCarrier();
    blade.m_controller.m_picmg = false;
    SimulatedController controller(blade);
    const CapturedController captured = Read(controller);
    EXPECT_FALSE(captured.m_picmg);
    EXPECT_THAT(controller.m_asked, Contains(AreaInfoOf(0)));
    EXPECT_THAT(controller.m_asked, Not(Contains(AddressInfoOf(0))));
    EXPECT_THAT(controller.m_asked, Not(Contains(AreaInfoOf(1))));
}

TEST_F(ReadControllerTest, EndsWithoutADeviceId) {
    SimulatedController controller;
    controller.m_answers[DeviceIdRequest] = {{0xC1}};
    EXPECT_THROW(Read(controller), BladeError);
}
