// What the media software answers to the health monitor, as it is told to.
#include "sim/vxpsim/Answers.h"

namespace BLADESIM {
namespace {

// When a board that could be live has to give its processor away.
constexpr uint32_t g_BoardNotLive = 2;
constexpr uint32_t g_SubStateNotLive = 1;

MESSAGE Reply(const qMsg& a_Request, uint32_t a_Type) {
    return MESSAGE(qMsgAllocate(a_Type, Q_ADDRESS_VXP, qMsgSource(&a_Request)));
}

void Put(qMsg& a_Message, uint32_t a_Field, uint32_t a_Number) {
    qMsgVarFieldPut(&a_Message, a_Field, &a_Number, sizeof(a_Number));
}

/// A text that does not fit into a message is left out.
void Put(qMsg& a_Message, uint32_t a_Field, const std::string& a_Text) {
    qMsgVarFieldPut(&a_Message, a_Field, a_Text.data(), a_Text.size());
}

bool IsKnown(const qMsg& a_Request) {
    return qMsgType(&a_Request) == Q_MSG_BOARD_STATUS || qMsgType(&a_Request) == Q_MSG_PROC_STATUS;
}

uint32_t AskedDetail(const qMsg& a_Request) {
    uint32_t l_Detail = 0;
    size_t l_Size = sizeof(l_Detail);
    return qMsgVarFieldGet(&a_Request, Q_FIELD_ASKED_DETAIL, &l_Detail, &l_Size) == 0 ? l_Detail : 0;
}

MESSAGE BoardStatus(const qMsg& a_Request, const MEDIA_ORDER& a_Order) {
    MESSAGE l_Reply = Reply(a_Request, Q_MSG_BOARD_STATUS_REPLY);
    Put(*l_Reply, Q_FIELD_BOARD_STATE, a_Order.m_AtProcessor ? g_BoardNotLive : a_Order.m_BoardState);
    Put(*l_Reply, Q_FIELD_BOARD_SUB_STATE, a_Order.m_AtProcessor ? g_SubStateNotLive : a_Order.m_SubState);
    return l_Reply;
}

MESSAGE ProcessorStatus(const qMsg& a_Request, const MEDIA_ORDER& a_Order) {
    MESSAGE l_Reply = Reply(a_Request, Q_MSG_PROC_STATUS_REPLY);
    for (uint32_t l_Field = Q_FIELD_PROCESSOR; l_Field < Q_FIELD_ERROR_FILE; ++l_Field)
        Put(*l_Reply, l_Field, 0);
    Put(*l_Reply, Q_FIELD_PROCESSOR, a_Order.m_Processor);
    Put(*l_Reply, Q_FIELD_PROC_STATE, a_Order.m_ProcessorState);
    Put(*l_Reply, Q_FIELD_USER_SEVERITY, a_Order.m_Severity);
    if (AskedDetail(a_Request) == 0) return l_Reply;
    Put(*l_Reply, Q_FIELD_ERROR_FILE, a_Order.m_ErrorFile);
    Put(*l_Reply, Q_FIELD_CAUSE_FILE, a_Order.m_CauseFile);
    return l_Reply;
}

MESSAGE ResultError(const qMsg& a_Request) {
    MESSAGE l_Reply = Reply(a_Request, Q_MSG_RESULT_ERROR);
    Put(*l_Reply, Q_FIELD_RESULT_ERROR, g_ResultErrorCode);
    return l_Reply;
}

MESSAGE StandardError(const qMsg& a_Request) {
    MESSAGE l_Reply = Reply(a_Request, Q_MSG_STANDARD_ERROR);
    Put(*l_Reply, Q_FIELD_STANDARD_ERROR_MSG, qMsgType(&a_Request));
    Put(*l_Reply, Q_FIELD_STANDARD_ERROR_CODE, g_StandardErrorCode);
    for (uint32_t i = 0; i < 4; ++i)
        Put(*l_Reply, Q_FIELD_STANDARD_ERROR_DATA + i, i + 1);
    return l_Reply;
}

} // namespace

MEDIA_DEED DeedFor(const qMsg& a_Request, const MEDIA_ORDER& a_Order) {
    if (!IsKnown(a_Request)) return MEDIA_DEED::STANDARD_ERROR;
    const bool l_Spared = a_Order.m_AtProcessor && qMsgType(&a_Request) == Q_MSG_BOARD_STATUS;
    return l_Spared ? MEDIA_DEED::ANSWER : a_Order.m_Mode->m_Deed;
}

MESSAGE AnswerTo(const qMsg& a_Request, const MEDIA_ORDER& a_Order) {
    switch (DeedFor(a_Request, a_Order)) {
    case MEDIA_DEED::ANSWER:
    case MEDIA_DEED::FLOOD:
        return qMsgType(&a_Request) == Q_MSG_BOARD_STATUS ? BoardStatus(a_Request, a_Order)
                                                          : ProcessorStatus(a_Request, a_Order);
    case MEDIA_DEED::OTHER_TYPE:
        return Reply(a_Request, g_UnknownType);
    case MEDIA_DEED::RESULT_ERROR:
        return ResultError(a_Request);
    case MEDIA_DEED::STANDARD_ERROR:
        return StandardError(a_Request);
    case MEDIA_DEED::NOTHING:
    case MEDIA_DEED::NOT_TAKEN:
    case MEDIA_DEED::END:
        break;
    }
    return nullptr;
}

} // namespace BLADESIM
