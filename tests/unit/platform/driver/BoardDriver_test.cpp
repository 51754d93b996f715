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

using namespace bm_dev;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Pair;

namespace {

constexpr unsigned char SomeMac[6] = {2, 0, 0, 0, 0, 0x12};

class BoardDriver : public testing::Test {
protected:
    BoardDriver() { unsetenv("BLADESIM_RUN_DIR"); }
    ~BoardDriver() override { unsetenv("BLADESIM_RUN_DIR"); }

    unsigned char m_handle[8] = {};
    int m_out = -1;
};

TEST_F(BoardDriver, OpenFindsNoCard) {
    EXPECT_EQ(6, uPCIMemOpen(m_handle, 1, 0));
    setenv("BLADESIM_RUN_DIR", "", 1);
    EXPECT_EQ(6, uPCIMemOpen(m_handle, 1, 0));
}

TEST_F(BoardDriver, CloseOfAHandleThatWasNeverOpenIsHarmless) {
    EXPECT_EQ(0, uPCIMemClose(m_handle));
}

TEST_F(BoardDriver, WithoutABoardThereIsNoSwitch) {
    EXPECT_EQ(SwitchNoCard, mavkAmcSwitchPortEnable(3, 1, &m_out));
    EXPECT_EQ(SwitchNoCard, mavkAmcSwitchPortEnable(3, 9, &m_out));
    EXPECT_EQ(SwitchNoCard, mavkAmcSwitchPortCheckLink(3, &m_out));
    EXPECT_EQ(SwitchNoCard, mavkAmcSwitchMACLearn(7, SomeMac));
    EXPECT_EQ(SwitchNoCard, mavkAmcSwitchMACLearnByDSP(0, SomeMac));
    EXPECT_EQ(m_out, -1);
}

class SimulatedBoard : public BoardDriver {
protected:
    SimulatedBoard() {
        std::string name = testing::TempDir() + "boardXXXXXX";
        m_folder = mkdtemp(name.data());
        setenv("BLADESIM_RUN_DIR", m_folder.c_str(), 1);
        m_file = m_folder + "/switch";
    }
    ~SimulatedBoard() override { std::filesystem::remove_all(m_folder); }

    void Fail(const std::string& call, int code, std::optional<int> number = std::nullopt) const {
        ChangeSwitch(m_file, [&](SwitchState& state) { state.SetFailure(call, number, code); });
    }

    std::string m_folder;
    std::string m_file;
};

TEST_F(SimulatedBoard, IsOpenedAndClosed) {
    EXPECT_EQ(0, uPCIMemOpen(m_handle, 1, 0));
    EXPECT_EQ(0, uPCIMemClose(m_handle));
    EXPECT_EQ(4, uPCIMemOpen(nullptr, 1, 0));
}

TEST_F(SimulatedBoard, OpeningAnswersWhatWasOrdered) {
    for (const int result : {2, 3, 4, 5, 6, 7}) {
        Fail("uPCIMemOpen", result);
        EXPECT_EQ(result, uPCIMemOpen(m_handle, 1, 0));
    }
    Fail("uPCIMemClose", 9);
    EXPECT_EQ(9, uPCIMemClose(m_handle));
    Fail("uPCIMemOpen", 0);
    EXPECT_EQ(0, uPCIMemOpen(m_handle, 1, 0));
}

TEST_F(SimulatedBoard, PortIsEnabledDisabledAndAsked) {
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 2, &m_out));
    EXPECT_EQ(1, m_out);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 0, &m_out));
    EXPECT_EQ(0, m_out);
    EXPECT_FALSE(ReadSwitch(m_file).m_ports[3].m_enabled);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 2, &m_out));
    EXPECT_EQ(0, m_out);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 1, nullptr));
    EXPECT_TRUE(ReadSwitch(m_file).m_ports[3].m_enabled);
    EXPECT_TRUE(ReadSwitch(m_file).m_ports[4].m_enabled);
}

TEST_F(SimulatedBoard, LinkIsUpWhenTheCableIsThereAndThePortEnabled) {
    EXPECT_EQ(0, mavkAmcSwitchPortCheckLink(5, &m_out));
    EXPECT_EQ(1, m_out);
    mavkAmcSwitchPortEnable(5, 0, nullptr);
    EXPECT_EQ(0, mavkAmcSwitchPortCheckLink(5, &m_out));
    EXPECT_EQ(0, m_out);
    mavkAmcSwitchPortEnable(5, 1, nullptr);
    ChangeSwitch(m_file, [](SwitchState& state) { state.m_ports[5].m_cable = false; }); // pulled out
    EXPECT_EQ(0, mavkAmcSwitchPortCheckLink(5, &m_out));
    EXPECT_EQ(0, m_out);
}

TEST_F(SimulatedBoard, AddressesAreLearntAndMoved) {
    constexpr unsigned char Other[6] = {2, 0, 0, 0, 0, 0x11};
    EXPECT_EQ(0, mavkAmcSwitchMACLearnByDSP(31, SomeMac));
    EXPECT_EQ(0, mavkAmcSwitchMACLearn(8, Other));
    EXPECT_THAT(ReadSwitch(m_file).m_learnt, ElementsAre(Pair(std::to_array(Other), SwitchDestination{false, 8}),
                                                         Pair(std::to_array(SomeMac), SwitchDestination{true, 31})));
    EXPECT_EQ(0, mavkAmcSwitchMACLearn(7, SomeMac));
    EXPECT_EQ(ReadSwitch(m_file).m_learnt[std::to_array(SomeMac)], (SwitchDestination{false, 7}));
}

TEST_F(SimulatedBoard, FullTableTakesNoNewAddress) {
    ChangeSwitch(m_file, [](SwitchState& state) {
        for (std::size_t i = 0; i < SwitchTableSize; ++i)
            state.m_learnt[{3, 0, 0, 0, static_cast<unsigned char>(i / 256), static_cast<unsigned char>(i)}] = {};
    });
    EXPECT_EQ(SwitchTableFull, mavkAmcSwitchMACLearnByDSP(0, SomeMac));
    constexpr unsigned char Known[6] = {3, 0, 0, 0, 1, 0};
    EXPECT_EQ(0, mavkAmcSwitchMACLearnByDSP(0, Known));
}

TEST_F(SimulatedBoard, WhatItDoesNotHaveIsRefused) {
    for (const int port : {-1, 0, 2, 9})
        EXPECT_EQ(SwitchNoSuchPort, mavkAmcSwitchPortEnable(port, 1, &m_out)) << port;
    EXPECT_EQ(SwitchNoSuchPort, mavkAmcSwitchPortCheckLink(9, &m_out));
    EXPECT_EQ(SwitchNoSuchPort, mavkAmcSwitchMACLearn(9, SomeMac));
    EXPECT_EQ(SwitchNoSuchPort, mavkAmcSwitchMACLearnByDSP(-1, SomeMac));
    EXPECT_EQ(SwitchNoSuchPort, mavkAmcSwitchMACLearnByDSP(32, SomeMac));
    EXPECT_EQ(SwitchBadArgument, mavkAmcSwitchPortEnable(3, 3, &m_out));
    EXPECT_EQ(SwitchBadArgument, mavkAmcSwitchPortEnable(3, -1, &m_out));
    EXPECT_EQ(SwitchBadArgument, mavkAmcSwitchPortCheckLink(3, nullptr));
    EXPECT_EQ(SwitchBadArgument, mavkAmcSwitchMACLearn(7, nullptr));
    EXPECT_EQ(SwitchBadArgument, mavkAmcSwitchMACLearnByDSP(0, nullptr));
    EXPECT_EQ(m_out, -1);
    EXPECT_FALSE(std::filesystem::exists(m_file));
}

TEST_F(SimulatedBoard, OrderedFailureChangesNothing) {
    Fail("mavkAmcSwitchPortEnable", 11, 4);
    Fail("mavkAmcSwitchPortCheckLink", 12);
    Fail("mavkAmcSwitchMACLearn", 13, 8);
    Fail("mavkAmcSwitchMACLearnByDSP", 14, 2);
    const SwitchState before = ReadSwitch(m_file);
    EXPECT_EQ(11, mavkAmcSwitchPortEnable(4, 0, &m_out));
    EXPECT_EQ(12, mavkAmcSwitchPortCheckLink(3, &m_out));
    EXPECT_EQ(13, mavkAmcSwitchMACLearn(8, SomeMac));
    EXPECT_EQ(14, mavkAmcSwitchMACLearnByDSP(2, SomeMac));
    EXPECT_EQ(m_out, -1);
    EXPECT_EQ(ReadSwitch(m_file), before);
    EXPECT_EQ(0, mavkAmcSwitchPortEnable(3, 0, &m_out)); // another port
    EXPECT_EQ(0, mavkAmcSwitchMACLearnByDSP(3, SomeMac));
}

TEST_F(SimulatedBoard, StateThatCannotBeReadFailsEveryCallAndIsLoggedWithItsLine) {
    std::ofstream(m_file) << "bladesim switch 1\nport 3 ena";
    const LogFile log;
    EXPECT_EQ(2, uPCIMemOpen(m_handle, 1, 0));
    EXPECT_EQ(SwitchStateUnreadable, mavkAmcSwitchPortEnable(3, 1, &m_out));
    EXPECT_EQ(SwitchStateUnreadable, mavkAmcSwitchPortCheckLink(3, &m_out));
    EXPECT_EQ(SwitchStateUnreadable, mavkAmcSwitchMACLearn(7, SomeMac));
    EXPECT_EQ(SwitchStateUnreadable, mavkAmcSwitchMACLearnByDSP(0, SomeMac));
    EXPECT_EQ(SwitchStateUnreadable, uPCIMemClose(m_handle));
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_THAT(lines[0], EndsWith("<3> [Board Driver] uPCIMemOpen - " + m_file +
                                   ":2: \"ena\" is not a valid administrative state"));
    EXPECT_THAT(lines[1], testing::HasSubstr("mavkAmcSwitchPortEnable - "));
}

} // namespace
