// Blade files: SDRs, kept replies and the LEDs' beginnings, and the errors of bad ones.
#include "sim/blade/ReplyReader.h"

#include "BladeFileTest.h"

using namespace bladesim;
using testing::ElementsAre;
using testing::Pair;

namespace {

class BladeFileReply : public BladeFileTest {};
class BladeFileReplyValue : public BladeFileValueTest {};

} // namespace

TEST_F(BladeFileReply, IsKeptByItsRequest) {
    const Blade blade = ReadWith("/replies", {{{"request", "2c 01 00 07"}, {"reply", "cc"}}});
    EXPECT_THAT(blade.m_replies, ElementsAre(Pair(ElementsAre(0x2C, 1, 0, 7), ElementsAre(0xCC))));
    EXPECT_TRUE(ReadSample().m_replies.empty());
}

TEST_F(BladeFileReply, StandsBesideSDRs) {
    EXPECT_FALSE(ReadSample().m_sdrs);
    EXPECT_TRUE(ReadWith("/sdrs", nlohmann::json::array()).m_sdrs->empty());
    EXPECT_THAT(*ReadWith("/sdrs", {"01 00 51 c0 02 aa bb"}).m_sdrs,
                ElementsAre(ElementsAre(1, 0, 0x51, 0xC0, 2, 0xAA, 0xBB)));
}

TEST_F(BladeFileReply, StandsBesideWhatAnLEDDoesFromTheBeginning) {
    const Led led =
        ReadWith("/frus/1/leds/1/local_state", {{"function", "0x0a"}, {"on_duration", 20}, {"color", "white"}})
            .m_frus[1]
            .m_leds[1];
    ASSERT_TRUE(led.m_local);
    EXPECT_EQ(led.m_local->m_function, 10);
    EXPECT_EQ(led.m_local->m_onDuration, 20);
    EXPECT_EQ(led.m_local->m_color, LedColor::White);
    EXPECT_FALSE(led.m_override);
}

TEST_P(BladeFileReplyValue, IsRefused) {
    ExpectRefusal();
}

INSTANTIATE_TEST_SUITE_P(
    Bad, BladeFileReplyValue,
    testing::Values(
        BadValue{"/replies", {{{"request", "2c"}, {"reply", "00"}}}, "replies[0].request", "expected 2 to 272 bytes"},
        BadValue{"/replies", {{{"request", "2c ??"}, {"reply", "00"}}}, "replies[0].request", "hexadecimal"},
        BadValue{"/replies", {{{"request", "2c 01"}, {"reply", ""}}}, "replies[0].reply", "expected 1 to 36 bytes"},
        BadValue{"/replies",
                 {{{"request", "2c 01"}, {"reply", "00"}}, {{"request", "2c 01"}, {"reply", "c1"}}},
                 "replies[1].request",
                 "has a reply already"},
        BadValue{"/sdrs", {"01 00 51 c0"}, "sdrs[0]", "expected 5 to 64 bytes"},
        BadValue{"/sdrs", {"01 00 51 c0 02 aa"}, "sdrs[0]", "has 6 bytes; by its header there are 7"},
        BadValue{"/frus/1/leds/1/override_state",
                 {{"function", 255}, {"on_duration", 0}, {"color", "green"}},
                 "frus[1].leds[1].override_state.color",
                 "is not one of the colors"}));
