// What a controller is asked during a capture, and what it answered: every reply is kept, refusals and short ones too.
#include "sim/capture/Conversation.h"

#include "sim/base/Error.h"
#include "sim/blade/HexText.h"
#include "sim/capture/Requests.h"
#include "sim/driver/CommandNames.h"

#include <chrono>
#include <thread>

namespace bladesim {
namespace {

constexpr uint8_t TimedOut = 0xC3; // what the kernel's driver answers for a silent controller
constexpr uint8_t NodeBusy = 0xC0;
constexpr uint8_t NotReady = 0xD2;
constexpr uint8_t Unspecified = 0xFF; // the kernel's driver, after an error on the interface
constexpr int Attempts = 3;
constexpr std::chrono::milliseconds Pause{100};

/// Codes that say nothing about the request: the next attempt may have an answer.
bool IsPassing(uint8_t code) {
    return code == TimedOut || code == NodeBusy || code == NotReady || code == Unspecified;
}

std::string DescribeRequest(const Bytes& request) {
    return std::string(CommandName(request[0], request[1])) + " (" + HexText(request) + ")";
}

std::string DescribeCode(uint8_t code) {
    const std::string hex = "0x" + HexText(Bytes{code});
    return "completion code " + hex + (code == TimedOut ? ", the driver's time-out" : "");
}

Fault FaultAt(const Bytes& request, uint8_t code, unsigned first, unsigned count) {
    Fault fault;
    fault.m_request.assign(request.begin(), request.end());
    fault.m_first = first;
    fault.m_count = count;
    fault.m_kind = code == TimedOut ? FaultKind::Lost : FaultKind::CompletionCode;
    if (code != TimedOut) fault.m_argument = code;
    return fault;
}

} // namespace

Bytes Conversation::AskOnce(const Bytes& request) const {
    auto reply = m_ask(request);
    return reply && !reply->empty() ? *reply : Bytes{TimedOut};
}

Conversation::Outcome Conversation::AskUntilAnswered(const Bytes& request) const {
    Outcome outcome;
    for (;;) {
        outcome.m_reply = AskOnce(request);
        if (!IsPassing(outcome.m_reply[0])) return outcome;
        if (outcome.m_before.size() + 1 == Attempts) break;
        m_tell(DescribeRequest(request) + ": " + DescribeCode(outcome.m_reply[0]) + "; asked again");
        outcome.m_before.push_back(outcome.m_reply);
        if (outcome.m_reply[0] != TimedOut) std::this_thread::sleep_for(Pause);
    }
    const Bytes alive = AskOnce(DeviceIdRequest);
    if (alive[0] != 0) {
        throw BladeError("the controller at /dev/ipmi0 does not answer: " + DescribeRequest(request) + ": " +
                         DescribeCode(outcome.m_reply[0]) + "; and then " + DescribeRequest(DeviceIdRequest) + ": " +
                         DescribeCode(alive[0]));
    }
    m_tell(DescribeRequest(request) + ": " + DescribeCode(outcome.m_reply[0]) + ", every time; kept so");
    return outcome;
}

Bytes Conversation::Ask(const Bytes& request) {
    return AskUntilAnswered(request).m_reply;
}

Bytes Conversation::AskAndKeep(const Bytes& request) {
    const Outcome outcome = AskUntilAnswered(request);
    KeepFaults(request, outcome);
    m_replies[request] = outcome.m_reply;
    return outcome.m_reply;
}

void Conversation::KeepFaults(const Bytes& request, const Outcome& outcome) {
    if (outcome.m_reply[0] == TimedOut) {
        m_faults.push_back(FaultAt(request, TimedOut, 1, 0));
        return;
    }
    if (IsPassing(outcome.m_reply[0])) return; // the reply says it all
    unsigned attempt = 0;
    for (const Bytes& before : outcome.m_before)
        m_faults.push_back(FaultAt(request, before[0], ++attempt, 1));
}

} // namespace bladesim
