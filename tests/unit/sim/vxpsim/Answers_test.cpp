// What the media software answers to each question, in each of its modes.
#include "sim/vxpsim/Answers.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace BLADESIM;

namespace {

MESSAGE Request(uint32_t a_Type, std::optional<uint32_t> a_Detail = std::nullopt) {
    MESSAGE l_Request(qMsgAllocate(a_Type, 0x61, Q_ADDRESS_VXP));
    if (a_Detail) qMsgVarFieldPut(l_Request.get(), Q_FIELD_ASKED_DETAIL, &*a_Detail, sizeof(*a_Detail));
    return l_Request;
}

MEDIA_ORDER OrderOf(std::string_view a_Mode) {
    MEDIA_ORDER l_Order;
    l_Order.m_Mode = FindMediaMode(a_Mode);
    l_Order.m_BoardState = l_Order.m_Mode->m_BoardState;
    l_Order.m_SubState = l_Order.m_Mode->m_SubState;
    l_Order.m_ProcessorState = l_Order.m_Mode->m_ProcessorState;
    return l_Order;
}

std::optional<uint32_t> Number(const MESSAGE& a_Message, uint32_t a_Field) {
    uint32_t l_Number = 0;
    size_t l_Size = sizeof(l_Number);
    const bool l_Found =
        qMsgVarFieldGet(a_Message.get(), a_Field, &l_Number, &l_Size) == 0 && l_Size == sizeof(l_Number);
    return l_Found ? std::optional(l_Number) : std::nullopt;
}

std::optional<std::string> Text(const MESSAGE& a_Message, uint32_t a_Field) {
    std::array<char, 200> l_Text{};
    size_t l_Size = l_Text.size();
    if (qMsgVarFieldGet(a_Message.get(), a_Field, l_Text.data(), &l_Size) != 0) return std::nullopt;
    return std::string(l_Text.data(), l_Size);
}

} // namespace

TEST(MediaAnswer, GoesToWhoeverAsked) {
    const MESSAGE l_Answer = AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf("sound"));
    EXPECT_EQ(qMsgType(l_Answer.get()), Q_MSG_BOARD_STATUS_REPLY);
    EXPECT_EQ(qMsgSource(l_Answer.get()), Q_ADDRESS_VXP);
}

TEST(MediaAnswer, TellsTheStateOfTheBoard) {
    const std::pair<const char*, std::array<uint32_t, 2>> l_Cases[] = {
        {"sound", {0, 4}}, {"slow", {0, 4}}, {"flood", {0, 4}}, {"degraded", {2, 1}}, {"faulty", {2, 1}}};
    for (const auto& [l_Mode, l_State] : l_Cases) {
        const MESSAGE l_Answer = AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf(l_Mode));
        EXPECT_EQ(qMsgType(l_Answer.get()), Q_MSG_BOARD_STATUS_REPLY) << l_Mode;
        EXPECT_EQ(Number(l_Answer, Q_FIELD_BOARD_STATE), l_State[0]) << l_Mode;
        EXPECT_EQ(Number(l_Answer, Q_FIELD_BOARD_SUB_STATE), l_State[1]) << l_Mode;
    }
}

TEST(MediaAnswer, TellsOfAProcessorInTwelveNumbersAndTwoTexts) {
    MEDIA_ORDER l_Order = OrderOf("faulty");
    l_Order.m_Processor = 7;
    l_Order.m_Severity = 9;
    l_Order.m_ErrorFile = "error.c";
    l_Order.m_CauseFile = std::string(100, 'c');
    const MESSAGE l_Answer = AnswerTo(*Request(Q_MSG_PROC_STATUS, 1), l_Order);
    EXPECT_EQ(qMsgType(l_Answer.get()), Q_MSG_PROC_STATUS_REPLY);
    for (uint32_t l_Field = Q_FIELD_PROCESSOR; l_Field < Q_FIELD_ERROR_FILE; ++l_Field)
        EXPECT_TRUE(Number(l_Answer, l_Field)) << l_Field;
    EXPECT_EQ(Number(l_Answer, Q_FIELD_PROCESSOR), 7U);
    EXPECT_EQ(Number(l_Answer, Q_FIELD_PROC_STATE), 1U);
    EXPECT_EQ(Number(l_Answer, Q_FIELD_USER_SEVERITY), 9U);
    EXPECT_EQ(Text(l_Answer, Q_FIELD_ERROR_FILE), "error.c");
    EXPECT_EQ(Text(l_Answer, Q_FIELD_CAUSE_FILE), std::string(100, 'c'));
}

TEST(MediaAnswer, HasTheTextsOnlyWhenTheDetailIsAskedFor) {
    for (const auto l_Detail : {std::optional<uint32_t>(), std::optional<uint32_t>(0)}) {
        const MESSAGE l_Answer = AnswerTo(*Request(Q_MSG_PROC_STATUS, l_Detail), OrderOf("faulty"));
        EXPECT_FALSE(Text(l_Answer, Q_FIELD_ERROR_FILE));
        EXPECT_FALSE(Text(l_Answer, Q_FIELD_CAUSE_FILE));
    }
}

TEST(MediaAnswer, FindsNoFaultInAProcessorThatHasNone) {
    for (const char* l_Mode : {"sound", "degraded"})
        EXPECT_GE(Number(AnswerTo(*Request(Q_MSG_PROC_STATUS, 1), OrderOf(l_Mode)), Q_FIELD_PROC_STATE), 2U) << l_Mode;
}

TEST(MediaAnswer, IsOfAnotherKindWhenSoOrdered) {
    const std::pair<const char*, uint32_t> l_Cases[] = {
        {"wrong-type", g_UnknownType}, {"result-error", Q_MSG_RESULT_ERROR}, {"standard-error", Q_MSG_STANDARD_ERROR}};
    for (const auto& [l_Mode, l_Type] : l_Cases) {
        for (const uint32_t l_Request : {uint32_t{Q_MSG_BOARD_STATUS}, uint32_t{Q_MSG_PROC_STATUS}})
            EXPECT_EQ(qMsgType(AnswerTo(*Request(l_Request), OrderOf(l_Mode)).get()), l_Type) << l_Mode;
    }
}

TEST(MediaAnswer, TellsWhatWentWrong) {
    EXPECT_EQ(Number(AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf("result-error")), Q_FIELD_RESULT_ERROR),
              g_ResultErrorCode);
    const MESSAGE l_Standard = AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf("standard-error"));
    EXPECT_EQ(Number(l_Standard, Q_FIELD_STANDARD_ERROR_MSG), uint32_t{Q_MSG_BOARD_STATUS});
    EXPECT_EQ(Number(l_Standard, Q_FIELD_STANDARD_ERROR_CODE), g_StandardErrorCode);
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(Number(l_Standard, Q_FIELD_STANDARD_ERROR_DATA + i), i + 1);
}

TEST(MediaAnswer, DoesNotComeWhenSoOrdered) {
    for (const char* l_Mode : {"silent", "deaf", "dying", "dead"})
        EXPECT_EQ(AnswerTo(*Request(Q_MSG_BOARD_STATUS), OrderOf(l_Mode)), nullptr) << l_Mode;
}

TEST(MediaAnswer, ToAnUnknownQuestionIsAStandardErrorInEveryMode) {
    for (const MEDIA_MODE& l_Mode : g_MediaModes) {
        const MESSAGE l_Answer = AnswerTo(*Request(0x1234), OrderOf(l_Mode.m_Name));
        EXPECT_EQ(qMsgType(l_Answer.get()), Q_MSG_STANDARD_ERROR) << l_Mode.m_Name;
        EXPECT_EQ(Number(l_Answer, Q_FIELD_STANDARD_ERROR_MSG), 0x1234U);
    }
}

TEST(MediaAnswer, SparesTheBoardWhenTheProcessorIsMeant) {
    MEDIA_ORDER l_Order = OrderOf("silent");
    l_Order.m_AtProcessor = true;
    const MESSAGE l_Answer = AnswerTo(*Request(Q_MSG_BOARD_STATUS), l_Order);
    EXPECT_EQ(Number(l_Answer, Q_FIELD_BOARD_STATE), 2U);
    EXPECT_EQ(Number(l_Answer, Q_FIELD_BOARD_SUB_STATE), 1U);
    EXPECT_EQ(AnswerTo(*Request(Q_MSG_PROC_STATUS), l_Order), nullptr);
}
