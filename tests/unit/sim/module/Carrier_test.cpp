// What the controller of a carrier answers, byte for byte.
#include "sim/module/Carrier.h"

#include "SampleCarrier.h"
#include "sim/base/Bytes.h"

#include <gmock/gmock.h>

#include <iterator>
#include <random>

using namespace bladesim;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr uint8_t PICMGCommands = 0x30;

class CarrierTest : public testing::Test {
protected:
    Reply Ask(uint8_t command, const Bytes& data) { return m_carrier.Answer(command, data, m_now); }

    Carrier m_carrier{SampleCarrier()};
    LedClock::time_point m_now{1h};
};

} // namespace

struct Exchange {
    const char* m_name;
    uint8_t m_command;
    Bytes m_request;
    Bytes m_reply;
};

class CarrierReply : public CarrierTest, public testing::WithParamInterface<Exchange> {};

TEST_P(CarrierReply, IsThatOfTheStandard) {
    EXPECT_THAT(Ask(GetParam().m_command, GetParam().m_request), ElementsAreArray(GetParam().m_reply));
}

std::string NameOf(const testing::TestParamInfo<Exchange>& testInfo) {
    return testInfo.param.m_name;
}

INSTANTIATE_TEST_SUITE_P(
    Good, CarrierReply,
    testing::Values(Exchange{"PropertiesNameTheHighestFRU", 0x00, {0}, {0, 0, 0x22, 7, 0}},
                    Exchange{"AddressOfTheControllersOwnFRU", 0x01, {0}, {0, 0, 0x41, 0x82, 0xFF, 0, 5, 0}},
                    Exchange{"AddressOfAFRU", 0x01, {0, 2}, {0, 0, 0x41, 0x82, 0xFF, 2, 3, 7}},
                    Exchange{"AddressOfTheRTM", 0x01, {0, 7}, {0, 0, 0x41, 0x82, 0xFF, 7, 1, 9}},
                    Exchange{"AddressByHardwareAddress", 0x01, {0, 2, 0, 0x41}, {0, 0, 0x41, 0x82, 0xFF, 2, 3, 7}},
                    Exchange{"AddressByIPMBAddress", 0x01, {0, 0, 1, 0x82}, {0, 0, 0x41, 0x82, 0xFF, 0, 5, 0}},
                    Exchange{"AddressBySite", 0x01, {0, 0, 3, 3, 7}, {0, 0, 0x41, 0x82, 0xFF, 2, 3, 7}},
                    Exchange{"ControlOfAFRU", 0x04, {0, 2, 0}, {0, 0}},
                    Exchange{"ControlQuiesce", 0x04, {0, 2, 4}, {0, 0}},
                    Exchange{"LEDsOfTheBoard", 0x05, {0, 0}, {0, 0, 0x03, 0}},
                    Exchange{"LEDsWithAGapAndOneOfTheApplication", 0x05, {0, 2}, {0, 0, 0x05, 1}},
                    Exchange{"NoLEDs", 0x05, {0, 7}, {0, 0, 0, 0}},
                    Exchange{"ColorsOfAnLED", 0x06, {0, 0, 1}, {0, 0, 0x14, 2, 4}},
                    Exchange{"SetAnLED", 0x07, {0, 0, 1, 0xFF, 0, 4}, {0, 0}},
                    Exchange{"StateUnderLocalControl", 0x08, {0, 0, 1}, {0, 0, 0x01, 0, 0, 2}},
                    Exchange{"StateWithoutLocalControl", 0x08, {0, 2, 5}, {0, 0, 0x00, 0, 0, 3}}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Bad, CarrierReply,
    testing::Values(
        Exchange{"NoGroupExtension", 0x00, {}, {0xC7}}, Exchange{"AnotherGroupExtension", 0x00, {0xDC}, {0xC1}},
        Exchange{"PropertiesTooLong", 0x00, {0, 0}, {0xC7}}, Exchange{"AddressOfAnUnknownFRU", 0x01, {0, 1}, {0xC9}},
        Exchange{"AddressOfAFRUBeyondTheHighest", 0x01, {0, 8}, {0xC9}},
        Exchange{"AddressKeyWithoutValue", 0x01, {0, 0, 0}, {0xC7}},
        Exchange{"SiteWithoutType", 0x01, {0, 0, 3, 3}, {0xC7}},
        Exchange{"AddressTooLong", 0x01, {0, 0, 3, 3, 7, 0}, {0xC7}},
        Exchange{"ReservedAddressKey", 0x01, {0, 0, 2, 0x41}, {0xCC}},
        Exchange{"SomebodyElsesHardwareAddress", 0x01, {0, 0, 0, 0x42}, {0xD3}},
        Exchange{"SomebodyElsesIPMBAddress", 0x01, {0, 0, 1, 0x41}, {0xD3}},
        Exchange{"SiteThatIsNotThere", 0x01, {0, 0, 3, 4, 7}, {0xD3}},
        Exchange{"ControlTooShort", 0x04, {0, 2}, {0xC7}}, Exchange{"ControlOfAnUnknownFRU", 0x04, {0, 3, 0}, {0xC9}},
        Exchange{"ReservedControl", 0x04, {0, 2, 5}, {0xCC}}, Exchange{"LEDsWithoutFRU", 0x05, {0}, {0xC7}},
        Exchange{"LEDsOfAnUnknownFRU", 0x05, {0, 6}, {0xC9}}, Exchange{"ColorsTooShort", 0x06, {0, 0}, {0xC7}},
        Exchange{"ColorsOfAnUnknownLED", 0x06, {0, 0, 2}, {0xC9}},
        Exchange{"ColorsOfAllLEDs", 0x06, {0, 0, 0xFF}, {0xC9}},
        Exchange{"SetTooShort", 0x07, {0, 0, 1, 0xFF, 0}, {0xC7}},
        Exchange{"SetTooLong", 0x07, {0, 0, 1, 0xFF, 0, 4, 0}, {0xC7}},
        Exchange{"SetOfAnUnsupportedColor", 0x07, {0, 0, 1, 0xFF, 0, 1}, {0xCC}},
        Exchange{"SetOfAnLEDOfAFRUWithoutAny", 0x07, {0, 7, 0, 0xFF, 0, 1}, {0xC9}},
        Exchange{"StateTooShort", 0x08, {0, 0}, {0xC7}}, Exchange{"StateOfAllLEDs", 0x08, {0, 0, 0xFF}, {0xC9}},
        Exchange{"StateOfAnLEDOfAnUnknownFRU", 0x08, {0, 5, 0}, {0xC9}}, Exchange{"CommandOfAShelf", 0x02, {0}, {0xC1}},
        Exchange{"CommandAfterTheLEDs", 0x09, {0, 0, 0}, {0xC1}},
        Exchange{"CommandThatNobodyKnows", 0xFF, {0}, {0xC1}}),
    NameOf);

TEST_F(CarrierTest, TellsAnOverrideBehindTheLocalState) {
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 50, 30, 4}), ElementsAre(0, 0));
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x03, 0, 0, 2, 50, 30, 4));
    EXPECT_THAT(Ask(0x08, {0, 0, 0}), ElementsAre(0, 0, 0x01, 0, 0, 1)) << "another LED";
    EXPECT_THAT(Ask(0x08, {0, 2, 0}), ElementsAre(0, 0, 0x01, 0, 0, 1)) << "another FRU";
}

TEST_F(CarrierTest, TellsHowMuchIsLeftOfALampTest) {
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 0xFB, 20, 0x0F}), ElementsAre(0, 0));
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x05, 0, 0, 2, 0, 0, 4, 20));
    m_now += 1s;
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x05, 0, 0, 2, 0, 0, 4, 10));
    m_now += 901ms;
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x05, 0, 0, 2, 0, 0, 4, 1));
    m_now += 99ms;
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x01, 0, 0, 2));
}

TEST_F(CarrierTest, TellsTheOverrideUnderALampTest) {
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 0xFF, 0, 2}), ElementsAre(0, 0));
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 0xFB, 127, 0x0F}), ElementsAre(0, 0));
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x07, 0, 0, 2, 0xFF, 0, 2, 127));
}

TEST_F(CarrierTest, RemembersTheControlsInTheirOrder) {
    for (const uint8_t option : {0, 0, 3, 0})
        ASSERT_THAT(Ask(0x04, {0, 2, option}), ElementsAre(0, 0));
    ASSERT_THAT(Ask(0x04, {0, 0, 0}), ElementsAre(0, 0));
    ASSERT_THAT(Ask(0x04, {0, 0, 9}), ElementsAre(0xCC));
    Bytes seen;
    for (const FruControl& control : m_carrier.Controls()) {
        seen.insert(seen.end(), {control.m_fru, control.m_option, static_cast<uint8_t>(control.m_count)});
    }
    EXPECT_THAT(seen, ElementsAre(2, 0, 2, 2, 3, 1, 2, 0, 1, 0, 0, 1));
}

TEST_F(CarrierTest, ForgetsTheOldestControlsWhenThereAreTooMany) {
    ASSERT_THAT(Ask(0x04, {0, 0, 4}), ElementsAre(0, 0));
    for (size_t count = 0; count < MaxControls; ++count)
        ASSERT_THAT(Ask(0x04, {0, 2, static_cast<uint8_t>(count % 2)}), ElementsAre(0, 0));
    EXPECT_EQ(m_carrier.Controls().size(), MaxControls);
    EXPECT_EQ(m_carrier.Controls().front().m_fru, 2);
}

TEST(CarrierWithoutPICMG, KnowsNoGroupExtension) {
    Blade blade = SampleCarrier();
    blade.m_controller.m_picmg = false;
    Carrier carrier(blade);
    const Bytes request = {0, 0};
    for (uint8_t command = 0; command < PICMGCommands; ++command)
        EXPECT_THAT(carrier.Answer(command, request, LedClock::now()), ElementsAre(0xC1));
    EXPECT_THAT(carrier.Answer(0, {}, LedClock::now()), ElementsAre(0xC1));
}

TEST_F(CarrierTest, TellsItsDeviceIdWithoutAuxiliaryFirmware) {
    EXPECT_THAT(m_carrier.DeviceId(), ElementsAre(0, 0x35, 1, 3, 0x12, 0x02, 0x9F, 0xD9, 0x7E, 0x01, 0x1A, 0x0B));
}

TEST(CarrierWithAuxiliaryFirmware, TellsItBehindTheDeviceId) {
    Blade blade = SampleCarrier();
    blade.m_controller.m_auxiliaryFirmware = {1, 10, 0, 44};
    EXPECT_THAT(Carrier(blade).DeviceId(),
                ElementsAre(0, 0x35, 1, 3, 0x12, 0x02, 0x9F, 0xD9, 0x7E, 0x01, 0x1A, 0x0B, 1, 10, 0, 44));
}

TEST_F(CarrierTest, AnswersWhateverComesWithACodeAndWithinBounds) {
    constexpr uint8_t telling[] = {0, 1, 2, 3, 5, 7, 0x0F, 0xFB, 0xFF}; // many of them are real commands
    std::mt19937 random(20);
    const auto below = [&](size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(random); };
    size_t good = 0;
    for (int round = 0; round < 20'000; ++round) {
        // Exactly as long as it says: a sanitizer finds a read past its end.
        Bytes request(below(8));
        for (uint8_t& value : request)
            value = below(4) == 0 ? static_cast<uint8_t>(below(0x100)) : telling[below(std::size(telling))];
        if (!request.empty() && below(4) != 0) request[0] = 0;
        const Reply reply = Ask(static_cast<uint8_t>(below(0x0A)), request);
        ASSERT_FALSE(reply.empty());
        ASSERT_LE(reply.size(), reply[0] == 0 ? MaxReply : 1U);
        good += reply[0] == 0 ? 1U : 0U;
        m_now += 10ms;
    }
    EXPECT_GT(good, 500U) << "else it says little";
}
