// What the media software answers to each question, in each of its modes.
#include "sim/vxpsim/Answers.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace bladesim;

namespace {

Message Request(uint32_t type, std::optional<uint32_t> detail = std::nullopt) {
    Message request(qMsgAllocate(type, 0x61, Q_ADDRESS_VXP));
    if (detail) qMsgVarFieldPut(request.get(), Q_FIELD_ASKED_DETAIL, &*detail, sizeof(*detail));
    return request;
}

MediaOrder OrderOf(std::string_view mode) {
    MediaOrder order;
    order.m_mode = FindMediaMode(mode);
    order.m_boardState = order.m_mode->m_boardState;
    order.m_subState = order.m_mode->m_subState;
    order.m_processorState = order.m_mode->m_processorState;
    return order;
}

std::optional<uint32_t> Number(const Message& message, uint32_t field) {
    uint32_t number = 0;
    size_t size = sizeof(number);
    const bool found = qMsgVarFieldGet(message.get(), field, &number, &size) == 0 && size == sizeof(number);
    return found ? std::optional(number) : std::nullopt;
}

std::optional<std::string> Text(const Message& message, uint32_t field) {
    std::array<char, 200> text{};
    size_t size = text.size();
    if (qMsgVarFieldGet(message.get(), field, text.data(), &size) != 0) return std::nullopt;
    return std::string(text.data(), size);
}

} // namespace

TEST(MediaAnswer, GoesToWhoeverAsked) {
    const Message answer = AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf("sound"));
    EXPECT_EQ(qMsgType(answer.get()), Q_MSG_BOARD_STATUS_REPLY);
    EXPECT_EQ(qMsgSource(answer.get()), Q_ADDRESS_VXP);
}

TEST(MediaAnswer, TellsTheStateOfTheBoard) {
    const std::pair<const char*, std::array<uint32_t, 2>> cases[] = {
        {"sound", {0, 4}}, {"slow", {0, 4}}, {"flood", {0, 4}}, {"degraded", {2, 1}}, {"faulty", {2, 1}}};
    for (const auto& [mode, state] : cases) {
        const Message answer = AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf(mode));
        EXPECT_EQ(qMsgType(answer.get()), Q_MSG_BOARD_STATUS_REPLY) << mode;
        EXPECT_EQ(Number(answer, Q_FIELD_BOARD_STATE), state[0]) << mode;
        EXPECT_EQ(Number(answer, Q_FIELD_BOARD_SUB_STATE), state[1]) << mode;
    }
}

TEST(MediaAnswer, TellsOfAProcessorInTwelveNumbersAndTwoTexts) {
    MediaOrder order = OrderOf("faulty");
    order.m_processor = 7;
    order.m_severity = 9;
    order.m_errorFile = "error.c";
    order.m_causeFile = std::string(100, 'c');
    const Message answer = AnswerTo(*Request(Q_MSG_PROC_STATUS, 1), order);
    EXPECT_EQ(qMsgType(answer.get()), Q_MSG_PROC_STATUS_REPLY);
    for (uint32_t field = Q_FIELD_PROCESSOR; field < Q_FIELD_ERROR_FILE; ++field)
        EXPECT_TRUE(Number(answer, field)) << field;
    EXPECT_EQ(Number(answer, Q_FIELD_PROCESSOR), 7U);
    EXPECT_EQ(Number(answer, Q_FIELD_PROC_STATE), 1U);
    EXPECT_EQ(Number(answer, Q_FIELD_USER_SEVERITY), 9U);
    EXPECT_EQ(Text(answer, Q_FIELD_ERROR_FILE), "error.c");
    EXPECT_EQ(Text(answer, Q_FIELD_CAUSE_FILE), std::string(100, 'c'));
}

TEST(MediaAnswer, HasTheTextsOnlyWhenTheDetailIsAskedFor) {
    for (const auto detail : {std::optional<uint32_t>(), std::optional<uint32_t>(0)}) {
        const Message answer = AnswerTo(*Request(Q_MSG_PROC_STATUS, detail), OrderOf("faulty"));
        EXPECT_FALSE(Text(answer, Q_FIELD_ERROR_FILE));
        EXPECT_FALSE(Text(answer, Q_FIELD_CAUSE_FILE));
    }
}

TEST(MediaAnswer, FindsNoFaultInAProcessorThatHasNone) {
    for (const char* mode : {"sound", "degraded"})
        EXPECT_GE(Number(AnswerTo(*Request(Q_MSG_PROC_STATUS, 1), OrderOf(mode)), Q_FIELD_PROC_STATE), 2U) << mode;
}

TEST(MediaAnswer, IsOfAnotherKindWhenSoOrdered) {
    const std::pair<const char*, uint32_t> cases[] = {
        {"wrong-type", UnknownType}, {"result-error", Q_MSG_RESULT_ERROR}, {"standard-error", Q_MSG_STANDARD_ERROR}};
    for (const auto& [mode, type] : cases) {
        for (const uint32_t request : {uint32_t{Q_MSG_BOARD_STATUS}, uint32_t{Q_MSG_PROC_STATUS}})
            EXPECT_EQ(qMsgType(AnswerTo(*Request(request), OrderOf(mode)).get()), type) << mode;
    }
}

TEST(MediaAnswer, TellsWhatWentWrong) {
    EXPECT_EQ(Number(AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf("result-error")), Q_FIELD_RESULT_ERROR),
              ResultErrorCode);
    const Message standard = AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf("standard-error"));
    EXPECT_EQ(Number(standard, Q_FIELD_STANDARD_ERROR_MSG), uint32_t{Q_MSG_BOARD_STATUS});
    EXPECT_EQ(Number(standard, Q_FIELD_STANDARD_ERROR_CODE), StandardErrorCode);
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(Number(standard, Q_FIELD_STANDARD_ERROR_DATA + i), i + 1);
}

TEST(MediaAnswer, DoesNotComeWhenSoOrdered) {
    for (const char* mode : {"silent", "deaf", "dying", "dead"})
        EXPECT_EQ(AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf(mode)), nullptr) << mode;
}

TEST(MediaAnswer, ToAnUnknownQuestionIsAStandardErrorInEveryMode) {
    for (const MediaMode& mode : MediaModes) {
        const Message answer = AnswerTo(*Request(0x1234), OrderOf(mode.m_name));
        EXPECT_EQ(qMsgType(answer.get()), Q_MSG_STANDARD_ERROR) << mode.m_name;
        EXPECT_EQ(Number(answer, Q_FIELD_STANDARD_ERROR_MSG), 0x1234U);
    }
}

TEST(MediaAnswer, SparesTheBoardWhenTheProcessorIsMeant) {
    MediaOrder order = OrderOf("silent");
    order.m_atProcessor = true;
    const Message answer = AnswerTo(*Request(Q_MSG_BOARD_STATUS), order);
    EXPECT_EQ(Number(answer, Q_FIELD_BOARD_STATE), 2U);
    EXPECT_EQ(Number(answer, Q_FIELD_BOARD_SUB_STATE), 1U);
    EXPECT_EQ(AnswerTo(*Request(Q_MSG_PROC_STATUS), order), nullptr);
}
