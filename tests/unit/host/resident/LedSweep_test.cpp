// Which LED is read next, and when.
#include "host/resident/LedSweep.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;

class LedSweepTest : public testing::Test {
protected:
    static LedSweep::Clock::time_point At(std::chrono::milliseconds time) {
        return LedSweep::Clock::time_point(1h + time);
    }
    /// Reads what is due now.
    LedPlace Read(std::chrono::milliseconds time, bool exists = true, bool answered = true) {
        const auto due = m_sweep.Due(At(time));
        EXPECT_TRUE(due);
        m_sweep.Done(exists, answered, At(time));
        return due.value_or(LedPlace{-1, -1});
    }

    LedSweep m_sweep{30s};
};

TEST_F(LedSweepTest, HasNothingToReadBeforeItBegins) {
    EXPECT_FALSE(m_sweep.Due(At(1h)));
    EXPECT_EQ(LedSweep::Clock::time_point::max(), m_sweep.When());
}

TEST_F(LedSweepTest, FirstPassIsQuickThenTheyArePaced) {
    m_sweep.Begin({{0, 1}, {0, 2}, {3, 1}}, At(0ms));
    EXPECT_EQ(1, Read(0ms).m_led);
    EXPECT_EQ(2, Read(0ms).m_led);
    EXPECT_EQ(3, Read(0ms).m_bay);
    EXPECT_FALSE(m_sweep.Due(At(9999ms)));
    EXPECT_EQ(At(10s), m_sweep.When());
    EXPECT_EQ(1U, m_sweep.Passes());
    EXPECT_EQ(1, Read(10s).m_led);
    EXPECT_EQ(At(20s), m_sweep.When());
}

TEST_F(LedSweepTest, WhatDoesNotExistIsNotAskedAgain) {
    m_sweep.Begin({{0, 1}, {0, 2}, {0, 3}}, At(0ms));
    Read(0ms);
    EXPECT_EQ(2, Read(0ms, false).m_led);
    EXPECT_EQ(3, Read(0ms).m_led);
    EXPECT_EQ(At(15s), m_sweep.When());
    EXPECT_EQ(1, Read(15s).m_led);
    EXPECT_EQ(3, Read(30s).m_led);
    EXPECT_EQ(1, Read(45s).m_led);
}

TEST_F(LedSweepTest, EndsWhereThereIsNone) {
    m_sweep.Begin({{0, 1}}, At(0ms));
    Read(0ms, false);
    EXPECT_FALSE(m_sweep.Due(At(1h)));
    EXPECT_EQ(LedSweep::Clock::time_point::max(), m_sweep.When());
}

TEST_F(LedSweepTest, AControllerThatDoesNotAnswerIsNotHurried) {
    m_sweep.Begin({{0, 1}, {0, 2}, {0, 3}}, At(0ms));
    Read(0ms, true, false);
    EXPECT_EQ(At(10s), m_sweep.When());
}

TEST_F(LedSweepTest, HurryReadsAllOnceAndGoesOnAtItsPace) {
    m_sweep.Begin({{0, 1}, {0, 2}}, At(0ms));
    Read(0ms);
    Read(0ms);
    Read(15s);
    m_sweep.Hurry(At(16s));
    EXPECT_EQ(2, Read(16s).m_led);
    EXPECT_EQ(1, Read(16s).m_led);
    EXPECT_EQ(At(31s), m_sweep.When());
    m_sweep.SetPeriod(2s);
    Read(31s);
    EXPECT_EQ(At(32s), m_sweep.When());
}

} // namespace
