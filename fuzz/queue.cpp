// Messages of the queue: their bytes, what the health monitor makes of the media software's answers, and what the
// simulated media software answers. An input is a byte that says which, then the payloads, each behind its length.
#include "support/Bytes.h"
#include "support/Require.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/monitor/IPMI_MediaSoftware.h"
#include "adaptor/monitor/IPMI_OwnWait.h"
#include "bm/MsgQueue.h"
#include "common/veldo_common_protocol.h"
#include "fake/FakeBoard.h"
#include "platform/src/queue/MsgQueue_Message.h"
#include "sim/vxpsim/Answers.h"

#include <cstring>
#include <deque>
#include <iterator>
#include <map>
#include <optional>

using namespace BM_ADAPTOR;
using fuzzing::Bytes;
using fuzzing::Require;
using Payload = std::vector<uint8_t>;

namespace {

// What the monitor's queue is given to read; the one of the process.
std::deque<Payload>& Incoming() {
    static auto& incoming = *new std::deque<Payload>;
    return incoming;
}

} // namespace

// The transport, in the place of the platform's: no sockets, and who sends is not answered but by the input.
int qDrvSetInterface(int, int) {
    return 0;
}
int qQueueOpen() {
    return 7;
}
int qQueueBind(int, uint32_t) {
    return 0;
}
int qQueueClose(int) {
    return 0;
}
int qMsgWrite(int, const qMsg* message) {
    return message != nullptr && message->Encode().size() == message->EncodedSize() ? 0 : -1;
}
int qMsgRead(int, qMsg** message) {
    if (Incoming().empty()) return -1;
    *message = qMsg::Decode(Incoming().front()).release();
    Incoming().pop_front();
    return *message != nullptr ? 0 : -1;
}

namespace {

// A message read slowly: the words of its bytes, one by one. Nothing when the bytes are no message.
struct SlowMessage {
    uint32_t m_type = 0;
    uint32_t m_source = 0;
    uint32_t m_destination = 0;
    std::map<uint32_t, Payload> m_fields{};

    std::optional<uint32_t> Number(uint32_t field) const {
        const auto found = m_fields.find(field);
        if (found == m_fields.end() || found->second.size() != 4) return std::nullopt;
        uint32_t number = 0;
        std::memcpy(&number, found->second.data(), 4);
        return number;
    }
};

std::optional<SlowMessage> SlowlyRead(const Payload& payload) {
    Bytes bytes(payload.data(), payload.size());
    constexpr std::size_t header = 5 * 4;
    if (payload.size() < header || bytes.Number() != 0x514D5331) return std::nullopt;
    SlowMessage message;
    message.m_type = bytes.Number();
    message.m_source = bytes.Number();
    message.m_destination = bytes.Number();
    for (uint32_t fields = bytes.Number(); fields > 0; --fields) {
        if (bytes.Rest().size() < 8) return std::nullopt;
        const uint32_t id = bytes.Number();
        const uint32_t size = bytes.Number();
        if (size > bytes.Rest().size() || message.m_fields.contains(id)) return std::nullopt;
        message.m_fields[id] = bytes.Some(size);
    }
    return bytes.IsEmpty() ? std::optional(message) : std::nullopt;
}

// Bytes that are often a message: else few inputs would get past the signature.
Payload PayloadFrom(Bytes& input) {
    constexpr uint32_t types[] = {Q_MSG_BOARD_STATUS_REPLY, Q_MSG_PROC_STATUS_REPLY, Q_MSG_RESULT_ERROR,
                                  Q_MSG_STANDARD_ERROR,     Q_MSG_BOARD_STATUS,      Q_MSG_PROC_STATUS};
    constexpr uint32_t fields[] = {Q_FIELD_BOARD_STATE,        Q_FIELD_BOARD_SUB_STATE, Q_FIELD_PROC_STATE,
                                   Q_FIELD_PROCESSOR,          Q_FIELD_USER_SEVERITY,   Q_FIELD_ERROR_FILE,
                                   Q_FIELD_CAUSE_FILE,         Q_FIELD_RESULT_ERROR,    Q_FIELD_STANDARD_ERROR_CODE,
                                   Q_FIELD_STANDARD_ERROR_MSG, Q_FIELD_ASKED_DETAIL,    Q_FIELD_ASKED_PROCESSOR};
    if (input.Choice(4) == 0) return input.Some(std::size_t{input.Byte()} * 2);
    const unsigned type = input.Choice(std::size(types) + 1);
    qMsg message{type < std::size(types) ? types[type] : input.Number(), Q_ADDRESS_VXP, Q_ADDRESS_MONITOR, {}};
    for (unsigned count = input.Choice(6); count > 0; --count) {
        const uint32_t field = fields[input.Choice(std::size(fields))];
        const unsigned kind = input.Choice(4);
        Payload& value = message.m_fields[field];
        value = kind == 3 ? input.Some(input.Byte()) : Payload{static_cast<uint8_t>(input.Choice(6)), 0, 0, 0};
    }
    Payload payload = message.Encode();
    if (input.Choice(4) == 0) payload[input.Byte() % payload.size()] = input.Byte();
    return payload;
}

void CheckBytes(const Payload& payload) {
    const auto message = qMsg::Decode(payload);
    const auto slow = SlowlyRead(payload);
    Require((message != nullptr) == slow.has_value(), "bytes are a message or they are not");
    if (!slow) return;
    Require(message->m_type == slow->m_type && message->m_source == slow->m_source &&
                message->m_destination == slow->m_destination && message->m_fields == slow->m_fields,
            "another message than the bytes say");
    const Payload again = message->Encode();
    Require(again.size() == message->EncodedSize() && again.size() == payload.size(), "another size");
    Require(qMsg::Decode(again)->m_fields == slow->m_fields, "other fields when they are sent on");
}

// What the monitor says of these answers.
int ExpectedCheck(const Payload& board, const Payload& processor) {
    const auto status = SlowlyRead(board);
    if (!status || status->m_type != Q_MSG_BOARD_STATUS_REPLY) return MONITOR_NO_EXCHANGE;
    const auto state = status->Number(Q_FIELD_BOARD_STATE);
    const auto subState = status->Number(Q_FIELD_BOARD_SUB_STATE);
    if (!state || !subState) return MONITOR_NO_EXCHANGE;
    if ((*state <= 1 && *subState >= 4) || (*state == 1 && *subState == 0)) return MONITOR_LIVE;
    const auto worst = SlowlyRead(processor);
    if (!worst || worst->m_type != Q_MSG_PROC_STATUS_REPLY) return MONITOR_NO_EXCHANGE;
    const auto fault = worst->Number(Q_FIELD_PROC_STATE);
    if (!fault) return MONITOR_NO_EXCHANGE;
    return *fault < 2 ? MONITOR_PROCESSOR_FAULT : MONITOR_LIVE;
}

class NoWatcher final : public WAIT_WATCHER {
    void NoteOwnWait(bool) override {}
};

int CheckWith(const Payload& board, const Payload& processor) {
    Incoming() = {board, processor};
    FAKE_BOARD machine;
    NoWatcher watcher;
    int queue = -1;
    MEDIA_SOFTWARE software(machine, watcher, queue);
    Require(software.Open() == MONITOR_LIVE, "the queue does not open");
    const int result = software.Check();
    software.Close();
    return result;
}

void AskMonitor(Bytes input) {
    const Payload board = PayloadFrom(input);
    const Payload processor = PayloadFrom(input);
    CheckBytes(board);
    CheckBytes(processor);
    const int result = CheckWith(board, processor);
    Require(result == ExpectedCheck(board, processor), "the monitor says " + std::to_string(result));
}

// The simulated software's answers are messages, and the monitor takes them as the order means them.
void AskSimulation(Bytes input) {
    bladesim::MediaOrder order;
    order.m_mode = &bladesim::MediaModes[input.Choice(std::size(bladesim::MediaModes))];
    order.m_atProcessor = input.Choice(2) != 0;
    order.m_boardState = input.Byte();
    order.m_subState = input.Byte();
    order.m_processorState = input.Byte();
    order.m_processor = input.Number();
    order.m_severity = input.Number();
    order.m_errorFile = input.Text();
    order.m_causeFile = input.Text();
    const Payload asked = PayloadFrom(input);
    const auto answerTo = [&](const qMsg& request) {
        const bladesim::Message answer = AnswerTo(request, order);
        const Payload payload = answer ? answer->Encode() : Payload();
        if (answer) CheckBytes(payload);
        return payload;
    };
    if (const auto request = qMsg::Decode(asked)) answerTo(*request);
    const Payload board = answerTo({Q_MSG_BOARD_STATUS, Q_ADDRESS_MONITOR, Q_ADDRESS_VXP, {}});
    const Payload processor =
        answerTo({Q_MSG_PROC_STATUS, Q_ADDRESS_MONITOR, Q_ADDRESS_VXP, {{Q_FIELD_ASKED_DETAIL, {1, 0, 0, 0}}}});
    const int result = CheckWith(board, processor);
    Require(result == ExpectedCheck(board, processor), "of the simulation the monitor says " + std::to_string(result));
    const bool answers = order.m_mode->m_deed == bladesim::MediaDeed::Answer;
    Require(!answers || result != MONITOR_NO_EXCHANGE, "an answer is no exchange");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Bytes input(data, size);
    switch (input.Choice(3)) {
    case 0:
        CheckBytes({input.Rest().begin(), input.Rest().end()});
        break;
    case 1:
        AskMonitor(input);
        break;
    default:
        AskSimulation(input);
    }
    return 0;
}
