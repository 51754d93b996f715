// What the kernel's driver does with the requests of all who opened /dev/ipmi0: one at a time to the controller, in the
// order of arrival, each reply to the opener it belongs to, and an answer of its own when the controller gives none.
#include "sim/driver/RequestQueue.h"

#include <linux/ipmi.h>
#include <linux/ipmi_msgdefs.h>

#include <algorithm>
#include <cstring>

namespace BLADESIM {
namespace {

/// An answer to a request from the address that was asked, as yet without data.
BRIDGE_PACKET AnswerTo(const BRIDGE_PACKET& a_Request) {
    BRIDGE_PACKET l_Answer = a_Request;
    // An answer to what was an answer itself only says whether it could be sent.
    const bool l_Response = (a_Request.m_NetFn & 1) != 0;
    l_Answer.m_ReceiveType = l_Response ? IPMI_RESPONSE_RESPONSE_TYPE : IPMI_RESPONSE_RECV_TYPE;
    l_Answer.m_NetFn |= 1;
    l_Answer.m_DataLength = 0;
    return l_Answer;
}

uint8_t LunOf(const BRIDGE_PACKET& a_Request) {
    ipmi_system_interface_addr l_Address{};
    std::memcpy(&l_Address, a_Request.m_Address, std::min(sizeof(l_Address), sizeof(a_Request.m_Address)));
    return l_Address.lun;
}

} // namespace

BRIDGE_PACKET TimeOutAnswer(const BRIDGE_PACKET& a_Request) {
    BRIDGE_PACKET l_Answer = AnswerTo(a_Request);
    l_Answer.m_Data[0] = IPMI_TIMEOUT_COMPLETION_CODE;
    l_Answer.m_DataLength = 1;
    return l_Answer;
}

void REQUEST_QUEUE::Add(int a_Opener, const BRIDGE_PACKET& a_Request, uint64_t a_Entry) {
    m_Requests.push_back({a_Opener, a_Entry, a_Request});
}

std::optional<STARTED_REQUEST> REQUEST_QUEUE::Start(CLOCK::time_point a_Now) {
    if (m_Outstanding || m_Requests.empty()) return std::nullopt;
    m_Outstanding = true;
    if (m_TimeOut.count() != 0) m_Deadline = a_Now + m_TimeOut;
    const BRIDGE_PACKET& l_Packet = m_Requests.front().m_Packet;
    return STARTED_REQUEST{m_Requests.front().m_Entry,
                           {++m_Sequence,
                            l_Packet.m_NetFn,
                            LunOf(l_Packet),
                            l_Packet.m_Command,
                            {l_Packet.m_Data, l_Packet.m_Data + l_Packet.m_DataLength}}};
}

std::optional<ANSWER> REQUEST_QUEUE::Accept(const VM_MESSAGE& a_Reply) {
    if (!m_Outstanding) return std::nullopt;
    const BRIDGE_PACKET& l_Request = m_Requests.front().m_Packet;
    // A reply that comes after its time-out, or twice, finds another number here.
    const bool l_Ours = a_Reply.m_Sequence == m_Sequence && a_Reply.m_NetFn == (l_Request.m_NetFn | 1) &&
                        a_Reply.m_Command == l_Request.m_Command;
    if (!l_Ours) return std::nullopt;
    BRIDGE_PACKET l_Answer = AnswerTo(l_Request);
    l_Answer.m_DataLength = static_cast<uint16_t>(std::min(a_Reply.m_Data.size(), sizeof(l_Answer.m_Data)));
    std::copy_n(a_Reply.m_Data.begin(), l_Answer.m_DataLength, l_Answer.m_Data);
    // The kernel's driver vouches for a completion code in every answer.
    if (l_Answer.m_DataLength == 0) l_Answer.m_Data[l_Answer.m_DataLength++] = IPMI_ERR_UNSPECIFIED;
    return Finish(l_Answer);
}

std::optional<REQUEST_QUEUE::CLOCK::time_point> REQUEST_QUEUE::Deadline() const {
    return m_Deadline;
}

std::optional<ANSWER> REQUEST_QUEUE::Expire(CLOCK::time_point a_Now) {
    if (!m_Deadline || a_Now < *m_Deadline) return std::nullopt;
    return Finish(TimeOutAnswer(m_Requests.front().m_Packet));
}

void REQUEST_QUEUE::Forget(int a_Opener) {
    const auto l_FirstWaiting = m_Requests.begin() + (m_Outstanding ? 1 : 0);
    if (m_Outstanding && m_Requests.front().m_Opener == a_Opener) m_Requests.front().m_Opener = g_Nobody;
    m_Requests.erase(std::remove_if(l_FirstWaiting, m_Requests.end(),
                                    [=](const REQUEST& a_Request) { return a_Request.m_Opener == a_Opener; }),
                     m_Requests.end());
}

ANSWER REQUEST_QUEUE::Finish(const BRIDGE_PACKET& a_Answer) {
    const REQUEST& l_Request = m_Requests.front();
    const ANSWER l_Result{l_Request.m_Opener, l_Request.m_Entry, a_Answer};
    m_Requests.pop_front();
    m_Outstanding = false;
    m_Deadline.reset();
    return l_Result;
}

} // namespace BLADESIM
