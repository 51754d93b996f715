// How the media software is ordered to behave: the file with its order.
#include "sim/vxpsim/MediaOrder.h"

#include "sim/tools/ToolTest.h"

#include <utility>

using namespace bladesim;
using testing::StartsWith;

using MediaOrderTest = ToolTest;

TEST_F(MediaOrderTest, IsThatOfASoundSoftwareWhenNothingIsOrdered) {
    const MediaOrder order = ReadMediaOrder(m_folder);
    EXPECT_EQ(order.m_mode->m_name, MediaSound);
    EXPECT_EQ(order.m_boardState, 0U);
    EXPECT_EQ(order.m_subState, 4U);
    EXPECT_EQ(order.m_delay, 0U);
}

TEST_F(MediaOrderTest, TakesFromItsModeWhatItDoesNotSay) {
    WriteMediaOrder(m_folder, {{"mode", "slow"}});
    EXPECT_EQ(ReadMediaOrder(m_folder).m_delay, 6000U);
    WriteMediaOrder(m_folder, {{"mode", "faulty"}, {"sub_state", 3}});
    const MediaOrder order = ReadMediaOrder(m_folder);
    EXPECT_EQ(order.m_boardState, 2U);
    EXPECT_EQ(order.m_subState, 3U);
    EXPECT_EQ(order.m_processorState, 1U);
}

TEST_F(MediaOrderTest, KeepsAllThatItSays) {
    WriteMediaOrder(m_folder, {{"mode", "slow"},
                               {"at_processor", true},
                               {"delay_ms", 5},
                               {"board_state", 1},
                               {"sub_state", 0},
                               {"processor_state", 0xFFFFFFFF},
                               {"processor", 7},
                               {"severity", 9},
                               {"error_file", "a"},
                               {"cause_file", ""}});
    const MediaOrder order = ReadMediaOrder(m_folder);
    EXPECT_TRUE(order.m_atProcessor);
    EXPECT_EQ(order.m_delay, 5U);
    EXPECT_EQ(order.m_boardState, 1U);
    EXPECT_EQ(order.m_subState, 0U);
    EXPECT_EQ(order.m_processorState, 0xFFFFFFFFU);
    EXPECT_EQ(order.m_processor, 7U);
    EXPECT_EQ(order.m_severity, 9U);
    EXPECT_EQ(order.m_errorFile, "a");
    EXPECT_EQ(order.m_causeFile, "");
}

TEST_F(MediaOrderTest, ThatIsWrongIsNamedWithItsLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"{", "media.json:1: "},
        {"{\n\"mode\": \"fast\"}", "media.json:2: mode: \"fast\" is not a mode"},
        {R"({"mode": 3})", "media.json:1: mode: expected a text"},
        {R"({"delay_ms": 600001})", "media.json:1: delay_ms: expected a number from 0 to 600000"},
        {R"({"processor": -1})", "media.json:1: processor: expected a number from 0 to 4294967295"},
        {R"({"at_processor": 1})", "media.json:1: at_processor: expected true or false"},
        {R"({"colour": 1})", "media.json:1: colour: nothing is known by this name"},
    };
    for (const auto& [text, error] : cases) {
        Write("media.json", text);
        EXPECT_THAT(ErrorOf([&] { ReadMediaOrder(m_folder); }), StartsWith(error));
    }
}

TEST_F(MediaOrderTest, StaysWhenTheNextOneIsWrong) {
    WriteMediaOrder(m_folder, {{"mode", "silent"}});
    EXPECT_NE(ErrorOf([&] { WriteMediaOrder(m_folder, {{"mode", "fast"}}); }), "no error");
    EXPECT_EQ(ReadMediaOrder(m_folder).m_mode->m_name, "silent");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder), {}), 1);
}

TEST(MediaMode, IsFoundByItsNameOnly) {
    for (const MediaMode& mode : MediaModes)
        EXPECT_EQ(FindMediaMode(mode.m_name), &mode);
    EXPECT_EQ(FindMediaMode(""), nullptr);
    EXPECT_EQ(FindMediaMode("Sound"), nullptr);
}
