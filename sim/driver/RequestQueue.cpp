// What the kernel's driver does with the requests of all openers of /dev/ipmi0: it sends one at a time to the
// controller, in order of arrival, passes each reply to its opener, and answers itself when the controller does not.
#include "sim/driver/RequestQueue.h"

#include <linux/ipmi.h>
#include <linux/ipmi_msgdefs.h>

#include <algorithm>
#include <cstring>

namespace bladesim {
namespace {

/// An answer from the address that was asked, still without data.
BridgePacket AnswerTo(const BridgePacket& request) {
    BridgePacket answer = request;
    // The answer to a response only says whether it could be sent.
    const bool response = (request.m_netFn & 1) != 0;
    answer.m_receiveType = response ? IPMI_RESPONSE_RESPONSE_TYPE : IPMI_RESPONSE_RECV_TYPE;
    answer.m_netFn |= 1;
    answer.m_dataLength = 0;
    return answer;
}

uint8_t LunOf(const BridgePacket& request) {
    ipmi_system_interface_addr address{};
    std::memcpy(&address, request.m_address, std::min(sizeof(address), sizeof(request.m_address)));
    return address.lun;
}

} // namespace

BridgePacket TimeOutAnswer(const BridgePacket& request) {
    BridgePacket answer = AnswerTo(request);
    answer.m_data[0] = IPMI_TIMEOUT_COMPLETION_CODE;
    answer.m_dataLength = 1;
    return answer;
}

void RequestQueue::Add(int opener, const BridgePacket& request, uint64_t entry) {
    m_requests.push_back({opener, entry, request});
}

std::optional<StartedRequest> RequestQueue::Start(Clock::time_point now) {
    if (m_outstanding || m_requests.empty()) return std::nullopt;
    m_outstanding = true;
    if (m_timeOut.count() != 0) m_deadline = now + m_timeOut;
    const BridgePacket& packet = m_requests.front().m_packet;
    return StartedRequest{m_requests.front().m_entry,
                          {++m_sequence,
                           packet.m_netFn,
                           LunOf(packet),
                           packet.m_command,
                           {packet.m_data, packet.m_data + packet.m_dataLength}}};
}

std::optional<Answer> RequestQueue::Accept(const VmMessage& reply) {
    if (!m_outstanding) return std::nullopt;
    const BridgePacket& request = m_requests.front().m_packet;
    // A reply that comes too late, or twice, finds another number here.
    const bool ours = reply.m_sequence == m_sequence && reply.m_netFn == (request.m_netFn | 1) &&
                      reply.m_command == request.m_command;
    if (!ours) return std::nullopt;
    BridgePacket answer = AnswerTo(request);
    answer.m_dataLength = static_cast<uint16_t>(std::min(reply.m_data.size(), sizeof(answer.m_data)));
    std::copy_n(reply.m_data.begin(), answer.m_dataLength, answer.m_data);
    // The kernel's driver vouches for a completion code in every answer.
    if (answer.m_dataLength == 0) answer.m_data[answer.m_dataLength++] = IPMI_ERR_UNSPECIFIED;
    return Finish(answer);
}

std::optional<RequestQueue::Clock::time_point> RequestQueue::Deadline() const {
    return m_deadline;
}

std::optional<Answer> RequestQueue::Expire(Clock::time_point now) {
    if (!m_deadline || now < *m_deadline) return std::nullopt;
    return GiveUp();
}

std::optional<uint8_t> RequestQueue::Outstanding() const {
    if (!m_outstanding) return std::nullopt;
    return m_sequence;
}

std::optional<Answer> RequestQueue::GiveUp() {
    if (!m_outstanding) return std::nullopt;
    return Finish(TimeOutAnswer(m_requests.front().m_packet));
}

void RequestQueue::Forget(int opener) {
    const auto firstWaiting = m_requests.begin() + (m_outstanding ? 1 : 0);
    if (m_outstanding && m_requests.front().m_opener == opener) m_requests.front().m_opener = Nobody;
    m_requests.erase(std::remove_if(firstWaiting, m_requests.end(),
                                    [=](const Request& request) { return request.m_opener == opener; }),
                     m_requests.end());
}

Answer RequestQueue::Finish(const BridgePacket& answer) {
    const Request& request = m_requests.front();
    const Answer result{request.m_opener, request.m_entry, answer};
    m_requests.pop_front();
    m_outstanding = false;
    m_deadline.reset();
    return result;
}

} // namespace bladesim
