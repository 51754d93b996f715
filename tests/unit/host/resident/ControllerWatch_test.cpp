// Whether the controller answers.
#include "host/resident/ControllerWatch.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using State = Controller::State;

class ControllerWatchTest : public testing::Test {
protected:
    static ControllerWatch::Moment At(std::chrono::milliseconds time) {
        return {std::chrono::steady_clock::time_point(1h + time), WallTime(time)};
    }

    ControllerWatch m_watch;
};

TEST_F(ControllerWatchTest, KnowsNothingBeforeTheFirstAnswer) {
    EXPECT_EQ(State::Unknown, m_watch.State().m_state);
    m_watch.Called(At(0ms));
    m_watch.Look(At(2999ms));
    EXPECT_EQ(State::Unknown, m_watch.State().m_state);
}

TEST_F(ControllerWatchTest, AnAnswerIsOneAndItsTimeStays) {
    m_watch.Returned(m_watch.Called(At(0ms)), true, true, At(10ms));
    m_watch.Returned(m_watch.Called(At(100ms)), true, true, At(110ms));
    EXPECT_EQ(State::Answers, m_watch.State().m_state);
    EXPECT_EQ(WallTime(10ms), m_watch.State().m_since);
}

TEST_F(ControllerWatchTest, ACallThatDoesNotReturnIsLostSinceItBegan) {
    m_watch.Returned(m_watch.Called(At(0ms)), true, true, At(10ms));
    m_watch.Called(At(1000ms));
    m_watch.Called(At(1100ms));
    m_watch.Look(At(3999ms));
    EXPECT_EQ(State::Answers, m_watch.State().m_state);
    m_watch.Look(At(4000ms));
    EXPECT_EQ(State::Lost, m_watch.State().m_state);
    EXPECT_EQ(WallTime(1000ms), m_watch.State().m_since);
}

TEST_F(ControllerWatchTest, AFailureAfterATimeoutIsALossAndAQuickOneIsNot) {
    m_watch.Returned(m_watch.Called(At(0ms)), false, true, At(249ms));
    EXPECT_EQ(State::Unknown, m_watch.State().m_state);
    m_watch.Returned(m_watch.Called(At(300ms)), false, true, At(600ms));
    EXPECT_EQ(State::Lost, m_watch.State().m_state);
    EXPECT_EQ(WallTime(300ms), m_watch.State().m_since);
}

TEST_F(ControllerWatchTest, WhereEveryLedFailsQuicklyItIsLostSinceTheFirst) {
    m_watch.Expect(3);
    m_watch.Returned(m_watch.Called(At(0ms)), false, true, At(1ms));
    m_watch.Returned(m_watch.Called(At(100ms)), true, true, At(101ms)); // a refusal among answers
    EXPECT_TRUE(m_watch.Returned(m_watch.Called(At(200ms)), false, true, At(201ms)));
    EXPECT_TRUE(m_watch.Returned(m_watch.Called(At(300ms)), false, true, At(301ms)));
    EXPECT_EQ(State::Answers, m_watch.State().m_state);
    EXPECT_TRUE(m_watch.Returned(m_watch.Called(At(400ms)), false, true, At(401ms)));
    EXPECT_EQ(State::Lost, m_watch.State().m_state);
    EXPECT_EQ(WallTime(200ms), m_watch.State().m_since);
}

TEST_F(ControllerWatchTest, AnLedThatDoesNotExistSaysNothing) {
    m_watch.Returned(m_watch.Called(At(0ms)), false, false, At(9000ms));
    EXPECT_EQ(State::Unknown, m_watch.State().m_state);
}

TEST_F(ControllerWatchTest, ItComesBackWithItsNextAnswer) {
    m_watch.Returned(m_watch.Called(At(0ms)), false, true, At(5000ms));
    m_watch.Returned(m_watch.Called(At(6000ms)), true, true, At(6010ms));
    EXPECT_EQ(State::Answers, m_watch.State().m_state);
    EXPECT_EQ(WallTime(6010ms), m_watch.State().m_since);
    m_watch.Returned(77, false, true, At(90000ms)); // no call of this number
    EXPECT_EQ(State::Answers, m_watch.State().m_state);
}

} // namespace
