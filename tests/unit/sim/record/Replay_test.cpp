// Answers from a recording, and what is said of the first request that differs from it.
#include "sim/record/Replay.h"

#include <gmock/gmock.h>

using namespace bladesim;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

class ReplayTest : public testing::Test {
protected:
    static Recording Sample() {
        return {
            "file",
            {{{6, 1}, {{0, 0x20}}, 5ms}, {{0x2C, 0, 0}, {{0xC1}}, 0ms}, {{6, 1}, {{0, 0x21}}, 7ms}, {{6, 8}, {}, 0ms}}};
    }

    Replay m_replay{Sample(), [](uint8_t netFn, uint8_t) { return netFn == 6 ? "App" : ""; },
                    [this](const std::string& line) { m_told.push_back(line); }};
    std::vector<std::string> m_told;
};

} // namespace

TEST_F(ReplayTest, GivesEachRequestTheNextAnswerToTheSame) {
    const ReplayedAnswer first = m_replay.Answer({6, 1});
    EXPECT_THAT(first.m_reply, Optional(ElementsAre(0, 0x20)));
    EXPECT_EQ(first.m_delay, 5ms);
    EXPECT_THAT(m_replay.Answer({6, 1}).m_reply, Optional(ElementsAre(0, 0x21)));
    EXPECT_THAT(m_replay.Answer({0x2C, 0, 0}).m_reply, Optional(ElementsAre(0xC1))) << "in any order";
    EXPECT_FALSE(m_replay.Answer({6, 8}).m_reply);
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(ReplayTest, NamesTheFirstRequestThatIsNotThere) {
    m_replay.Answer({6, 1});
    EXPECT_THAT(m_replay.Answer({0x2C, 1, 0}).m_reply, Optional(ElementsAre(NotRecorded)));
    EXPECT_THAT(m_replay.Answer({0x2C, 2, 0}).m_reply, Optional(ElementsAre(NotRecorded)));
    EXPECT_THAT(
        m_told,
        ElementsAre("file: request 2 differs: 2c 01 00 is not in the recording, which has 2c 00 00 at this place"));
}

TEST_F(ReplayTest, NamesARequestThatComesTooOften) {
    for (int time = 0; time < 4; ++time)
        m_replay.Answer({6, 1});
    EXPECT_THAT(
        m_told,
        ElementsAre("file: request 3 differs: App (06 01) is there only 2 times, which has App (06 01) at this place"));
}

TEST_F(ReplayTest, KnowsWhenTheRecordingHasEnded) {
    m_replay.Answer({6, 1});
    m_replay.Answer({0x2C, 0, 0});
    m_replay.Answer({6, 1});
    m_replay.Answer({6, 8});
    m_replay.Answer({6, 8});
    EXPECT_THAT(m_told, ElementsAre("file: request 5 differs: App (06 08) is there only once, which has 4 requests"));
}
