// How the media software is told to behave: the file of its order.
#include "sim/vxpsim/MediaOrder.h"

#include "sim/tools/ToolTest.h"

#include <utility>

using namespace BLADESIM;
using testing::StartsWith;

using MediaOrder = ToolTest;

TEST_F(MediaOrder, IsThatOfASoundSoftwareWhenNothingIsOrdered) {
    const MEDIA_ORDER l_Order = ReadMediaOrder(m_Folder);
    EXPECT_EQ(l_Order.m_Mode->m_Name, g_MediaSound);
    EXPECT_EQ(l_Order.m_BoardState, 0U);
    EXPECT_EQ(l_Order.m_SubState, 4U);
    EXPECT_EQ(l_Order.m_Delay, 0U);
}

TEST_F(MediaOrder, TakesFromItsModeWhatItDoesNotSay) {
    WriteMediaOrder(m_Folder, {{"mode", "slow"}});
    EXPECT_EQ(ReadMediaOrder(m_Folder).m_Delay, 6000U);
    WriteMediaOrder(m_Folder, {{"mode", "faulty"}, {"sub_state", 3}});
    const MEDIA_ORDER l_Order = ReadMediaOrder(m_Folder);
    EXPECT_EQ(l_Order.m_BoardState, 2U);
    EXPECT_EQ(l_Order.m_SubState, 3U);
    EXPECT_EQ(l_Order.m_ProcessorState, 1U);
}

TEST_F(MediaOrder, KeepsAllThatItSays) {
    WriteMediaOrder(m_Folder, {{"mode", "slow"},
                               {"at_processor", true},
                               {"delay_ms", 5},
                               {"board_state", 1},
                               {"sub_state", 0},
                               {"processor_state", 0xFFFFFFFF},
                               {"processor", 7},
                               {"severity", 9},
                               {"error_file", "a"},
                               {"cause_file", ""}});
    const MEDIA_ORDER l_Order = ReadMediaOrder(m_Folder);
    EXPECT_TRUE(l_Order.m_AtProcessor);
    EXPECT_EQ(l_Order.m_Delay, 5U);
    EXPECT_EQ(l_Order.m_BoardState, 1U);
    EXPECT_EQ(l_Order.m_SubState, 0U);
    EXPECT_EQ(l_Order.m_ProcessorState, 0xFFFFFFFFU);
    EXPECT_EQ(l_Order.m_Processor, 7U);
    EXPECT_EQ(l_Order.m_Severity, 9U);
    EXPECT_EQ(l_Order.m_ErrorFile, "a");
    EXPECT_EQ(l_Order.m_CauseFile, "");
}

TEST_F(MediaOrder, ThatIsWrongIsNamedWithItsLine) {
    const std::pair<const char*, const char*> l_Cases[] = {
        {"{", "media.json:1: "},
        {"{\n\"mode\": \"fast\"}", "media.json:2: mode: \"fast\" is no mode"},
        {R"({"mode": 3})", "media.json:1: mode: expected a text"},
        {R"({"delay_ms": 600001})", "media.json:1: delay_ms: expected a number from 0 to 600000"},
        {R"({"processor": -1})", "media.json:1: processor: expected a number from 0 to 4294967295"},
        {R"({"at_processor": 1})", "media.json:1: at_processor: expected true or false"},
        {R"({"colour": 1})", "media.json:1: colour: nothing is known by this name"},
    };
    for (const auto& [l_Text, l_Error] : l_Cases) {
        Write("media.json", l_Text);
        EXPECT_THAT(ErrorOf([&] { ReadMediaOrder(m_Folder); }), StartsWith(l_Error));
    }
}

TEST_F(MediaOrder, StaysWhenTheNextOneIsWrong) {
    WriteMediaOrder(m_Folder, {{"mode", "silent"}});
    EXPECT_NE(ErrorOf([&] { WriteMediaOrder(m_Folder, {{"mode", "fast"}}); }), "no error");
    EXPECT_EQ(ReadMediaOrder(m_Folder).m_Mode->m_Name, "silent");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_Folder), {}), 1);
}

TEST(MediaMode, IsFoundByItsNameOnly) {
    for (const MEDIA_MODE& l_Mode : g_MediaModes)
        EXPECT_EQ(FindMediaMode(l_Mode.m_Name), &l_Mode);
    EXPECT_EQ(FindMediaMode(""), nullptr);
    EXPECT_EQ(FindMediaMode("Sound"), nullptr);
}
