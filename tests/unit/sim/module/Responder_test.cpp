// What the carrier answers: by its blade, by a kept reply, and by the blade again once something has changed.
#include "sim/module/Responder.h"

#include "SampleCarrier.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;

namespace {

Blade WithReplies() {
    Blade blade = SampleCarrier();
    blade.m_replies = {
        {{0x2C, 0x08, 0, 0, 1}, {0xCC}},
        {{0x2C, 0x08, 0, 0, 0}, {0xCD}},
        {{0x0A, 0x11, 0, 0, 0, 16}, {0xCE}},
        {{0x0A, 0x11, 0, 16, 0, 16}, {0xCF}},
    };
    return blade;
}

class ResponderTest : public testing::Test {
protected:
    Reply Ask(uint8_t netFn, uint8_t command, const std::vector<uint8_t>& data) {
        return m_responder.Answer(netFn, command, data, LedClock::now());
    }

    Responder m_responder{WithReplies()};
};

} // namespace

TEST_F(ResponderTest, AnswersByTheBlade) {
    EXPECT_EQ(Ask(0x06, 0x01, {})[1], 0x35);
    EXPECT_THAT(Ask(0x2C, 0x00, {0}), ElementsAre(0, 0, 0x22, 7, 0));
    EXPECT_EQ(Ask(0x0A, 0x10, {0})[0], 0);
}

TEST_F(ResponderTest, AnswersByTheReplyThatIsKept) {
    EXPECT_THAT(Ask(0x2C, 0x08, {0, 0, 1}), ElementsAre(0xCC));
    EXPECT_THAT(Ask(0x0A, 0x11, {0, 0, 0, 16}), ElementsAre(0xCE));
    EXPECT_EQ(Ask(0x0A, 0x11, {0, 0, 0, 8})[0], 0) << "another request";
}

TEST_F(ResponderTest, AnswersForAnLEDItselfOnceThatIsSet) {
    EXPECT_NE(Ask(0x2C, 0x07, {0, 0, 1, 0x01, 0, 2})[0], 0);
    EXPECT_THAT(Ask(0x2C, 0x08, {0, 0, 1}), ElementsAre(0xCC)) << "it was not set";
    EXPECT_EQ(Ask(0x2C, 0x07, {0, 0, 1, 0xFF, 0, 2})[0], 0);
    EXPECT_EQ(Ask(0x2C, 0x08, {0, 0, 1})[0], 0);
    EXPECT_THAT(Ask(0x2C, 0x08, {0, 0, 0}), ElementsAre(0xCD)) << "another LED";
}

TEST_F(ResponderTest, AnswersForAnAreaItselfOnceThatIsWritten) {
    EXPECT_EQ(Ask(0x0A, 0x12, {0, 0, 0, 1})[0], 0);
    EXPECT_EQ(Ask(0x0A, 0x11, {0, 0, 0, 16})[0], 0);
    EXPECT_EQ(Ask(0x0A, 0x11, {0, 16, 0, 16})[0], 0);
}
