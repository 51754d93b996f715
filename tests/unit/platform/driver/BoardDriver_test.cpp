// The board driver: without the board, and on the simulated switch of a blade's run folder.
#include "bm/BoardDriver.h"

#include "bm_dev/SimulatedSwitch.h"
#include "platform/log/LogFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using namespace BM_PLATFORM;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Pair;

namespace {

constexpr unsigned char MAC[6] = {2, 0, 0, 0, 0, 0x12};

class BoardDriver : public testing::Test {
protected:
    BoardDriver() { unsetenv("BLADESIM_RUN_DIR"); }
    ~BoardDriver() override { unsetenv("BLADESIM_RUN_DIR"); }

    unsigned char m_Handle[8] = {};
    int m_Out = -1;
};

TEST_F(BoardDriver, OpenFindsNoCard) {
    EXPECT_EQ(6, uPCIMemOpen(m_Handle, 1, 0));
    setenv("BLADESIM_RUN_DIR", "", 1);
    EXPECT_EQ(6, uPCIMemOpen(m_Handle, 1, 0));
}

TEST_F(BoardDriver, CloseOfAHandleThatWasNeverOpenIsHarmless) {
    EXPECT_EQ(0, uPCIMemClose(m_Handle));
}

TEST_F(BoardDriver, WithoutABoardThereIsNoSwitch) {
    EXPECT_EQ(SWITCH_NO_CARD, mavkAmcSwitchPortEnable(3, 1, &m_Out));
    EXPECT_EQ(SWITCH_NO_CARD, mavkAmcSwitchPortEnable(3, 9, &m_Out));
    EXPECT_EQ(SWITCH_NO_CARD, mavkAmcSwitchPortCheckLink(3, &m_Out));
    EXPECT_EQ(SWITCH_NO_CARD, mavkAmcSwitchMACLearn(7, MAC));
    EXPECT_EQ(SWITCH_NO_CARD, mavkAmcSwitchMACLearnByDSP(0, MAC));
    EXPECT_EQ(m_Out, -1);
}

class SimulatedBoard : public BoardDriver {
protected:
    SimulatedBoard() {
        std::string l_Name = testing::TempDir() + "boardXXXXXX";
        m_Folder = mkdtemp(l_Name.data());
        setenv("BLADESIM_RUN_DIR", m_Folder.c_str(), 1);
        m_File = m_Folder + "/switch";
    }
    ~SimulatedBoard() override { std::filesystem::remove_all(m_Folder); }

    void Fail(const std::string& a_Call, int a_Code, std::optional<int> a_Number = std::nullopt) const {
        ChangeSwitch(m_File, [&](SWITCH_STATE& a_State) { a_State.SetFailure(a_Call, a_Number, a_Code); });
    }

    std::string m_Folder;
    std::string m_File;
};

TEST_F(SimulatedBoard, IsOpenedAndClosed) {
    EXPECT_EQ(0, uPCIMemOpen(m_Handle, 1, 0));
    EXPECT_EQ(0, uPCIMemClose(m_Handle));
    EXPECT_EQ(4, uPCIMemOpen(nullptr, 1, 0));
}

TEST_F(SimulatedBoard, OpeningAnswersWhatWasOrdered) {
    for (const int l_Result : {2, 3, 4, 5, 6, 7}) {
        Fail("uPCIMemOpen", l_Result);
        EXPECT_EQ(l_Result, uPCIMemOpen(m_Handle, 1, 0));
    }
    Fail("uPCIMemClose", 9);
    EXPECT_EQ(9, uPCIMemClose(m_Handle));
    Fail("uPCIMemOpen", 0);
    EXPECT_EQ(0, uPCIMemOpen(m_Handle, 1, 0));
}

TEST_F(SimulatedBoard, PortIsEnabledDisabledAndAsked) {
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 2, &m_Out));
    EXPECT_EQ(1, m_Out);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 0, &m_Out));
    EXPECT_EQ(0, m_Out);
    EXPECT_FALSE(ReadSwitch(m_File).m_Ports[3].m_Enabled);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 2, &m_Out));
    EXPECT_EQ(0, m_Out);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 1, nullptr));
    EXPECT_TRUE(ReadSwitch(m_File).m_Ports[3].m_Enabled);
    EXPECT_TRUE(ReadSwitch(m_File).m_Ports[4].m_Enabled);
}

TEST_F(SimulatedBoard, LinkIsUpWhenTheCableIsThereAndThePortEnabled) {
    EXPECT_EQ(0, mavkAmcSwitchPortCheckLink(5, &m_Out));
    EXPECT_EQ(1, m_Out);
    mavkAmcSwitchPortEnable(5, 0, nullptr);
    EXPECT_EQ(0, mavkAmcSwitchPortCheckLink(5, &m_Out));
    EXPECT_EQ(0, m_Out);
    mavkAmcSwitchPortEnable(5, 1, nullptr);
    ChangeSwitch(m_File, [](SWITCH_STATE& a_State) { a_State.m_Ports[5].m_Cable = false; }); // pulled out
    EXPECT_EQ(0, mavkAmcSwitchPortCheckLink(5, &m_Out));
    EXPECT_EQ(0, m_Out);
}

TEST_F(SimulatedBoard, AddressesAreLearntAndMoved) {
    constexpr unsigned char OTHER[6] = {2, 0, 0, 0, 0, 0x11};
    EXPECT_EQ(0, mavkAmcSwitchMACLearnByDSP(31, MAC));
    EXPECT_EQ(0, mavkAmcSwitchMACLearn(8, OTHER));
    EXPECT_THAT(ReadSwitch(m_File).m_Learnt, ElementsAre(Pair(std::to_array(OTHER), SWITCH_DESTINATION{false, 8}),
                                                         Pair(std::to_array(MAC), SWITCH_DESTINATION{true, 31})));
    EXPECT_EQ(0, mavkAmcSwitchMACLearn(7, MAC));
    EXPECT_EQ(ReadSwitch(m_File).m_Learnt[std::to_array(MAC)], (SWITCH_DESTINATION{false, 7}));
}

TEST_F(SimulatedBoard, FullTableTakesNoNewAddress) {
    ChangeSwitch(m_File, [](SWITCH_STATE& a_State) {
        for (std::size_t i = 0; i < SWITCH_TABLE_SIZE; ++i)
            a_State.m_Learnt[{3, 0, 0, 0, static_cast<unsigned char>(i / 256), static_cast<unsigned char>(i)}] = {};
    });
    EXPECT_EQ(SWITCH_TABLE_FULL, mavkAmcSwitchMACLearnByDSP(0, MAC));
    constexpr unsigned char KNOWN[6] = {3, 0, 0, 0, 1, 0};
    EXPECT_EQ(0, mavkAmcSwitchMACLearnByDSP(0, KNOWN));
}

TEST_F(SimulatedBoard, WhatItDoesNotHaveIsRefused) {
    for (const int l_Port : {-1, 0, 2, 9})
        EXPECT_EQ(SWITCH_NO_SUCH_PORT, mavkAmcSwitchPortEnable(l_Port, 1, &m_Out)) << l_Port;
    EXPECT_EQ(SWITCH_NO_SUCH_PORT, mavkAmcSwitchPortCheckLink(9, &m_Out));
    EXPECT_EQ(SWITCH_NO_SUCH_PORT, mavkAmcSwitchMACLearn(9, MAC));
    EXPECT_EQ(SWITCH_NO_SUCH_PORT, mavkAmcSwitchMACLearnByDSP(-1, MAC));
    EXPECT_EQ(SWITCH_NO_SUCH_PORT, mavkAmcSwitchMACLearnByDSP(32, MAC));
    EXPECT_EQ(SWITCH_BAD_ARGUMENT, mavkAmcSwitchPortEnable(3, 3, &m_Out));
    EXPECT_EQ(SWITCH_BAD_ARGUMENT, mavkAmcSwitchPortEnable(3, -1, &m_Out));
    EXPECT_EQ(SWITCH_BAD_ARGUMENT, mavkAmcSwitchPortCheckLink(3, nullptr));
    EXPECT_EQ(SWITCH_BAD_ARGUMENT, mavkAmcSwitchMACLearn(7, nullptr));
    EXPECT_EQ(SWITCH_BAD_ARGUMENT, mavkAmcSwitchMACLearnByDSP(0, nullptr));
    EXPECT_EQ(m_Out, -1);
    EXPECT_FALSE(std::filesystem::exists(m_File));
}

TEST_F(SimulatedBoard, OrderedFailureChangesNothing) {
    Fail("mavkAmcSwitchPortEnable", 11, 4);
    Fail("mavkAmcSwitchPortCheckLink", 12);
    Fail("mavkAmcSwitchMACLearn", 13, 8);
    Fail("mavkAmcSwitchMACLearnByDSP", 14, 2);
    const SWITCH_STATE l_Before = ReadSwitch(m_File);
    EXPECT_EQ(11, mavkAmcSwitchPortEnable(4, 0, &m_Out));
    EXPECT_EQ(12, mavkAmcSwitchPortCheckLink(3, &m_Out));
    EXPECT_EQ(13, mavkAmcSwitchMACLearn(8, MAC));
    EXPECT_EQ(14, mavkAmcSwitchMACLearnByDSP(2, MAC));
    EXPECT_EQ(m_Out, -1);
    EXPECT_EQ(ReadSwitch(m_File), l_Before);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 0, &m_Out)); // another port
    EXPECT_EQ(0, mavkAmcSwitchMACLearnByDSP(3, MAC));
}

TEST_F(SimulatedBoard, StateThatCannotBeReadFailsEveryCallAndIsLoggedWithItsLine) {
    std::ofstream(m_File) << "bladesim switch 1\nport 3 ena";
    const LOG_FILE l_Log;
    EXPECT_EQ(2, uPCIMemOpen(m_Handle, 1, 0));
    EXPECT_EQ(SWITCH_STATE_UNREADABLE, mavkAmcSwitchPortEnable(3, 1, &m_Out));
    EXPECT_EQ(SWITCH_STATE_UNREADABLE, mavkAmcSwitchPortCheckLink(3, &m_Out));
    EXPECT_EQ(SWITCH_STATE_UNREADABLE, mavkAmcSwitchMACLearn(7, MAC));
    EXPECT_EQ(SWITCH_STATE_UNREADABLE, mavkAmcSwitchMACLearnByDSP(0, MAC));
    EXPECT_EQ(SWITCH_STATE_UNREADABLE, uPCIMemClose(m_Handle));
    const auto l_Lines = l_Log.Lines();
    ASSERT_EQ(l_Lines.size(), 6U);
    EXPECT_THAT(l_Lines[0],
                EndsWith("<3> [Board Driver] uPCIMemOpen - " + m_File + ":2: \"ena\" is no administrative state"));
    EXPECT_THAT(l_Lines[1], testing::HasSubstr("mavkAmcSwitchPortEnable - "));
}

} // namespace
