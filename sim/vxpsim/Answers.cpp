// What the media software answers to the health monitor, as ordered.
#include "sim/vxpsim/Answers.h"

namespace bladesim {
namespace {

// A board that is not live: the monitor then asks about its processor.
constexpr uint32_t BoardNotLive = 2;
constexpr uint32_t SubStateNotLive = 1;

Message Reply(const qMsg& request, uint32_t type) {
    return Message(qMsgAllocate(type, Q_ADDRESS_VXP, qMsgSource(&request)));
}

void Put(qMsg& message, uint32_t field, uint32_t number) {
    qMsgVarFieldPut(&message, field, &number, sizeof(number));
}

/// A text that does not fit into a message is left out.
void Put(qMsg& message, uint32_t field, const std::string& text) {
    qMsgVarFieldPut(&message, field, text.data(), text.size());
}

bool IsKnown(const qMsg& request) {
    return qMsgType(&request) == Q_MSG_BOARD_STATUS || qMsgType(&request) == Q_MSG_PROC_STATUS;
}

uint32_t AskedDetail(const qMsg& request) {
    uint32_t detail = 0;
    size_t size = sizeof(detail);
    return qMsgVarFieldGet(&request, Q_FIELD_ASKED_DETAIL, &detail, &size) == 0 ? detail : 0;
}

Message BoardStatus(const qMsg& request, const MediaOrder& order) {
    Message reply = Reply(request, Q_MSG_BOARD_STATUS_REPLY);
    Put(*reply, Q_FIELD_BOARD_STATE, order.m_atProcessor ? BoardNotLive : order.m_boardState);
    Put(*reply, Q_FIELD_BOARD_SUB_STATE, order.m_atProcessor ? SubStateNotLive : order.m_subState);
    return reply;
}

Message ProcessorStatus(const qMsg& request, const MediaOrder& order) {
    Message reply = Reply(request, Q_MSG_PROC_STATUS_REPLY);
    for (uint32_t field = Q_FIELD_PROCESSOR; field < Q_FIELD_ERROR_FILE; ++field)
        Put(*reply, field, 0);
    Put(*reply, Q_FIELD_PROCESSOR, order.m_processor);
    Put(*reply, Q_FIELD_PROC_STATE, order.m_processorState);
    Put(*reply, Q_FIELD_USER_SEVERITY, order.m_severity);
    if (AskedDetail(request) == 0) return reply;
    Put(*reply, Q_FIELD_ERROR_FILE, order.m_errorFile);
    Put(*reply, Q_FIELD_CAUSE_FILE, order.m_causeFile);
    return reply;
}

Message ResultError(const qMsg& request) {
    Message reply = Reply(request, Q_MSG_RESULT_ERROR);
    Put(*reply, Q_FIELD_RESULT_ERROR, ResultErrorCode);
    return reply;
}

Message StandardError(const qMsg& request) {
    Message reply = Reply(request, Q_MSG_STANDARD_ERROR);
    Put(*reply, Q_FIELD_STANDARD_ERROR_MSG, qMsgType(&request));
    Put(*reply, Q_FIELD_STANDARD_ERROR_CODE, StandardErrorCode);
    for (uint32_t i = 0; i < 4; ++i)
        Put(*reply, Q_FIELD_STANDARD_ERROR_DATA + i, i + 1);
    return reply;
}

} // namespace

MediaDeed DeedFor(const qMsg& request, const MediaOrder& order) {
    if (!IsKnown(request)) return MediaDeed::StandardError;
    const bool spared = order.m_atProcessor && qMsgType(&request) == Q_MSG_BOARD_STATUS;
    return spared ? MediaDeed::Answer : order.m_mode->m_deed;
}

Message AnswerTo(const qMsg& request, const MediaOrder& order) {
    switch (DeedFor(request, order)) {
    case MediaDeed::Answer:
    case MediaDeed::Flood:
        return qMsgType(&request) == Q_MSG_BOARD_STATUS ? BoardStatus(request, order) : ProcessorStatus(request, order);
    case MediaDeed::OtherType:
        return Reply(request, UnknownType);
    case MediaDeed::ResultError:
        return ResultError(request);
    case MediaDeed::StandardError:
        return StandardError(request);
    case MediaDeed::Nothing:
    case MediaDeed::NotTaken:
    case MediaDeed::End:
        break;
    }
    return nullptr;
}

} // namespace bladesim
