// What the controller of a carrier answers, byte for byte.
#include "sim/module/Carrier.h"

#include "SampleCarrier.h"

#include <gmock/gmock.h>

#include <iterator>
#include <random>

using namespace BLADESIM;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using BYTES = std::vector<uint8_t>;

constexpr uint8_t g_PICMGCommands = 0x30;

class Carrier : public testing::Test {
protected:
    REPLY Ask(uint8_t a_Command, const BYTES& a_Data) { return m_Carrier.Answer(a_Command, a_Data, m_Now); }

    CARRIER m_Carrier{SampleCarrier()};
    LED_CLOCK::time_point m_Now{1h};
};

} // namespace

struct EXCHANGE {
    const char* m_Name;
    uint8_t m_Command;
    BYTES m_Request;
    BYTES m_Reply;
};

class CarrierReply : public Carrier, public testing::WithParamInterface<EXCHANGE> {};

TEST_P(CarrierReply, IsThatOfTheStandard) {
    EXPECT_THAT(Ask(GetParam().m_Command, GetParam().m_Request), ElementsAreArray(GetParam().m_Reply));
}

std::string NameOf(const testing::TestParamInfo<EXCHANGE>& a_Info) {
    return a_Info.param.m_Name;
}

INSTANTIATE_TEST_SUITE_P(
    Good, CarrierReply,
    testing::Values(EXCHANGE{"PropertiesNameTheHighestFRU", 0x00, {0}, {0, 0, 0x22, 7, 0}},
                    EXCHANGE{"AddressOfTheControllersOwnFRU", 0x01, {0}, {0, 0, 0x41, 0x82, 0xFF, 0, 5, 0}},
                    EXCHANGE{"AddressOfAFRU", 0x01, {0, 2}, {0, 0, 0x41, 0x82, 0xFF, 2, 3, 7}},
                    EXCHANGE{"AddressOfTheRTM", 0x01, {0, 7}, {0, 0, 0x41, 0x82, 0xFF, 7, 1, 9}},
                    EXCHANGE{"AddressByHardwareAddress", 0x01, {0, 2, 0, 0x41}, {0, 0, 0x41, 0x82, 0xFF, 2, 3, 7}},
                    EXCHANGE{"AddressByIPMBAddress", 0x01, {0, 0, 1, 0x82}, {0, 0, 0x41, 0x82, 0xFF, 0, 5, 0}},
                    EXCHANGE{"AddressBySite", 0x01, {0, 0, 3, 3, 7}, {0, 0, 0x41, 0x82, 0xFF, 2, 3, 7}},
                    EXCHANGE{"ControlOfAFRU", 0x04, {0, 2, 0}, {0, 0}},
                    EXCHANGE{"ControlQuiesce", 0x04, {0, 2, 4}, {0, 0}},
                    EXCHANGE{"LEDsOfTheBoard", 0x05, {0, 0}, {0, 0, 0x03, 0}},
                    EXCHANGE{"LEDsWithAGapAndOneOfTheApplication", 0x05, {0, 2}, {0, 0, 0x05, 1}},
                    EXCHANGE{"NoLEDs", 0x05, {0, 7}, {0, 0, 0, 0}},
                    EXCHANGE{"ColorsOfAnLED", 0x06, {0, 0, 1}, {0, 0, 0x14, 2, 4}},
                    EXCHANGE{"SetAnLED", 0x07, {0, 0, 1, 0xFF, 0, 4}, {0, 0}},
                    EXCHANGE{"StateUnderLocalControl", 0x08, {0, 0, 1}, {0, 0, 0x01, 0, 0, 2}},
                    EXCHANGE{"StateWithoutLocalControl", 0x08, {0, 2, 5}, {0, 0, 0x00, 0, 0, 3}}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    Bad, CarrierReply,
    testing::Values(
        EXCHANGE{"NoGroupExtension", 0x00, {}, {0xC7}}, EXCHANGE{"AnotherGroupExtension", 0x00, {0xDC}, {0xC1}},
        EXCHANGE{"PropertiesTooLong", 0x00, {0, 0}, {0xC7}}, EXCHANGE{"AddressOfAnUnknownFRU", 0x01, {0, 1}, {0xC9}},
        EXCHANGE{"AddressOfAFRUBeyondTheHighest", 0x01, {0, 8}, {0xC9}},
        EXCHANGE{"AddressKeyWithoutValue", 0x01, {0, 0, 0}, {0xC7}},
        EXCHANGE{"SiteWithoutType", 0x01, {0, 0, 3, 3}, {0xC7}},
        EXCHANGE{"AddressTooLong", 0x01, {0, 0, 3, 3, 7, 0}, {0xC7}},
        EXCHANGE{"ReservedAddressKey", 0x01, {0, 0, 2, 0x41}, {0xCC}},
        EXCHANGE{"SomebodyElsesHardwareAddress", 0x01, {0, 0, 0, 0x42}, {0xD3}},
        EXCHANGE{"SomebodyElsesIPMBAddress", 0x01, {0, 0, 1, 0x41}, {0xD3}},
        EXCHANGE{"SiteThatIsNotThere", 0x01, {0, 0, 3, 4, 7}, {0xD3}},
        EXCHANGE{"ControlTooShort", 0x04, {0, 2}, {0xC7}}, EXCHANGE{"ControlOfAnUnknownFRU", 0x04, {0, 3, 0}, {0xC9}},
        EXCHANGE{"ReservedControl", 0x04, {0, 2, 5}, {0xCC}}, EXCHANGE{"LEDsWithoutFRU", 0x05, {0}, {0xC7}},
        EXCHANGE{"LEDsOfAnUnknownFRU", 0x05, {0, 6}, {0xC9}}, EXCHANGE{"ColorsTooShort", 0x06, {0, 0}, {0xC7}},
        EXCHANGE{"ColorsOfAnUnknownLED", 0x06, {0, 0, 2}, {0xC9}},
        EXCHANGE{"ColorsOfAllLEDs", 0x06, {0, 0, 0xFF}, {0xC9}},
        EXCHANGE{"SetTooShort", 0x07, {0, 0, 1, 0xFF, 0}, {0xC7}},
        EXCHANGE{"SetTooLong", 0x07, {0, 0, 1, 0xFF, 0, 4, 0}, {0xC7}},
        EXCHANGE{"SetOfAnUnsupportedColor", 0x07, {0, 0, 1, 0xFF, 0, 1}, {0xCC}},
        EXCHANGE{"SetOfAnLEDOfAFRUWithoutAny", 0x07, {0, 7, 0, 0xFF, 0, 1}, {0xC9}},
        EXCHANGE{"StateTooShort", 0x08, {0, 0}, {0xC7}}, EXCHANGE{"StateOfAllLEDs", 0x08, {0, 0, 0xFF}, {0xC9}},
        EXCHANGE{"StateOfAnLEDOfAnUnknownFRU", 0x08, {0, 5, 0}, {0xC9}}, EXCHANGE{"CommandOfAShelf", 0x02, {0}, {0xC1}},
        EXCHANGE{"CommandAfterTheLEDs", 0x09, {0, 0, 0}, {0xC1}},
        EXCHANGE{"CommandThatNobodyKnows", 0xFF, {0}, {0xC1}}),
    NameOf);

TEST_F(Carrier, TellsAnOverrideBehindTheLocalState) {
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 50, 30, 4}), ElementsAre(0, 0));
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x03, 0, 0, 2, 50, 30, 4));
    EXPECT_THAT(Ask(0x08, {0, 0, 0}), ElementsAre(0, 0, 0x01, 0, 0, 1)) << "another LED";
    EXPECT_THAT(Ask(0x08, {0, 2, 0}), ElementsAre(0, 0, 0x01, 0, 0, 1)) << "another FRU";
}

TEST_F(Carrier, TellsHowMuchIsLeftOfALampTest) {
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 0xFB, 20, 0x0F}), ElementsAre(0, 0));
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x05, 0, 0, 2, 0, 0, 4, 20));
    m_Now += 1s;
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x05, 0, 0, 2, 0, 0, 4, 10));
    m_Now += 901ms;
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x05, 0, 0, 2, 0, 0, 4, 1));
    m_Now += 99ms;
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x01, 0, 0, 2));
}

TEST_F(Carrier, TellsTheOverrideUnderALampTest) {
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 0xFF, 0, 2}), ElementsAre(0, 0));
    ASSERT_THAT(Ask(0x07, {0, 0, 1, 0xFB, 127, 0x0F}), ElementsAre(0, 0));
    EXPECT_THAT(Ask(0x08, {0, 0, 1}), ElementsAre(0, 0, 0x07, 0, 0, 2, 0xFF, 0, 2, 127));
}

TEST_F(Carrier, RemembersTheControlsInTheirOrder) {
    for (const uint8_t l_Option : {0, 0, 3, 0})
        ASSERT_THAT(Ask(0x04, {0, 2, l_Option}), ElementsAre(0, 0));
    ASSERT_THAT(Ask(0x04, {0, 0, 0}), ElementsAre(0, 0));
    ASSERT_THAT(Ask(0x04, {0, 0, 9}), ElementsAre(0xCC));
    BYTES l_Seen;
    for (const FRU_CONTROL& l_Control : m_Carrier.Controls()) {
        l_Seen.insert(l_Seen.end(), {l_Control.m_FRU, l_Control.m_Option, static_cast<uint8_t>(l_Control.m_Count)});
    }
    EXPECT_THAT(l_Seen, ElementsAre(2, 0, 2, 2, 3, 1, 2, 0, 1, 0, 0, 1));
}

TEST_F(Carrier, ForgetsTheOldestControlsWhenThereAreTooMany) {
    ASSERT_THAT(Ask(0x04, {0, 0, 4}), ElementsAre(0, 0));
    for (size_t l_Count = 0; l_Count < g_MaxControls; ++l_Count)
        ASSERT_THAT(Ask(0x04, {0, 2, static_cast<uint8_t>(l_Count % 2)}), ElementsAre(0, 0));
    EXPECT_EQ(m_Carrier.Controls().size(), g_MaxControls);
    EXPECT_EQ(m_Carrier.Controls().front().m_FRU, 2);
}

TEST(CarrierWithoutPICMG, KnowsNoGroupExtension) {
    BLADE l_Blade = SampleCarrier();
    l_Blade.m_Controller.m_PICMG = false;
    CARRIER l_Carrier(l_Blade);
    const BYTES l_Request = {0, 0};
    for (uint8_t l_Command = 0; l_Command < g_PICMGCommands; ++l_Command)
        EXPECT_THAT(l_Carrier.Answer(l_Command, l_Request, LED_CLOCK::now()), ElementsAre(0xC1));
    EXPECT_THAT(l_Carrier.Answer(0, {}, LED_CLOCK::now()), ElementsAre(0xC1));
}

TEST_F(Carrier, TellsItsDeviceIdWithoutAuxiliaryFirmware) {
    EXPECT_THAT(m_Carrier.DeviceId(), ElementsAre(0, 0x35, 1, 3, 0x12, 0x02, 0x9F, 0xD9, 0x7E, 0x01, 0x1A, 0x0B));
}

TEST(CarrierWithAuxiliaryFirmware, TellsItBehindTheDeviceId) {
    BLADE l_Blade = SampleCarrier();
    l_Blade.m_Controller.m_AuxiliaryFirmware = {1, 10, 0, 44};
    EXPECT_THAT(CARRIER(l_Blade).DeviceId(),
                ElementsAre(0, 0x35, 1, 3, 0x12, 0x02, 0x9F, 0xD9, 0x7E, 0x01, 0x1A, 0x0B, 1, 10, 0, 44));
}

TEST_F(Carrier, AnswersWhateverComesWithACodeAndWithinBounds) {
    constexpr uint8_t l_Telling[] = {0, 1, 2, 3, 5, 7, 0x0F, 0xFB, 0xFF}; // many of them mean something somewhere
    std::mt19937 l_Random(20);
    const auto l_Below = [&](size_t a_Limit) {
        return std::uniform_int_distribution<size_t>(0, a_Limit - 1)(l_Random);
    };
    size_t l_Good = 0;
    for (int l_Round = 0; l_Round < 20'000; ++l_Round) {
        // As long as it says and no longer: a byte read behind it is the sanitizer's to find.
        BYTES l_Request(l_Below(8));
        for (uint8_t& l_Value : l_Request)
            l_Value = l_Below(4) == 0 ? static_cast<uint8_t>(l_Below(0x100)) : l_Telling[l_Below(std::size(l_Telling))];
        if (!l_Request.empty() && l_Below(4) != 0) l_Request[0] = 0;
        const REPLY l_Reply = Ask(static_cast<uint8_t>(l_Below(0x0A)), l_Request);
        ASSERT_FALSE(l_Reply.empty());
        ASSERT_LE(l_Reply.size(), l_Reply[0] == 0 ? g_MaxReply : 1U);
        l_Good += l_Reply[0] == 0 ? 1U : 0U;
        m_Now += 10ms;
    }
    EXPECT_GT(l_Good, 500U) << "else it says little";
}
