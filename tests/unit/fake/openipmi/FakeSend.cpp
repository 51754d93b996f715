// Requests and replies of the fake: ipmi_send_command_addr, the scripted rows, delivery.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <OpenIPMI/ipmi_err.h>

#include <algorithm>

BYTES SENT_REQUEST::Bytes() const {
    BYTES l_Bytes;
    l_Bytes.reserve(2 + m_Data.size());
    l_Bytes.push_back(m_NetFn);
    l_Bytes.push_back(m_Command);
    for (const auto l_Byte : m_Data)
        l_Bytes.push_back(l_Byte);
    return l_Bytes;
}

void FAKE_OPENIPMI::OnRequest(BYTES a_Request, REPLIER a_Replier, int a_Nth) {
    const std::lock_guard l_Guard(m_Guard);
    m_Rows.push_back({std::move(a_Request), std::move(a_Replier), a_Nth, 0});
}

void FAKE_OPENIPMI::OnRequest(BYTES a_Request, BYTES a_Reply, int a_Nth) {
    OnRequest(
        std::move(a_Request), [l_Reply = std::move(a_Reply)](const SENT_REQUEST&) { return l_Reply; }, a_Nth);
}

void FAKE_OPENIPMI::OnRequests(const std::vector<SCRIPTED_REPLY>& a_Rows) {
    for (const auto& l_Row : a_Rows)
        OnRequest(l_Row.m_Request, l_Row.m_Reply, l_Row.m_Nth);
}

void FAKE_OPENIPMI::LoseReply(BYTES a_Request, int a_Nth) {
    OnRequest(
        std::move(a_Request), [](const SENT_REQUEST&) { return std::nullopt; }, a_Nth);
}

void FAKE_OPENIPMI::SetSendResult(int a_Result) {
    const std::lock_guard l_Guard(m_Guard);
    m_SendResult = a_Result;
}

void FAKE_OPENIPMI::RecordRequests(bool a_On) {
    const std::lock_guard l_Guard(m_Guard);
    m_bRecordRequests = a_On;
}

std::vector<SENT_REQUEST> FAKE_OPENIPMI::Sent() const {
    const std::lock_guard l_Guard(m_Guard);
    return m_Sent;
}

std::vector<BYTES> FAKE_OPENIPMI::SentBytes() const {
    std::vector<BYTES> l_Bytes;
    for (const auto& l_Request : Sent())
        l_Bytes.push_back(l_Request.Bytes());
    return l_Bytes;
}

std::size_t FAKE_OPENIPMI::SentCount() const {
    const std::lock_guard l_Guard(m_Guard);
    return m_SentCount;
}

std::size_t FAKE_OPENIPMI::Outstanding() const {
    const std::lock_guard l_Guard(m_Guard);
    return m_Replies.size();
}

/// The newest row whose bytes begin the request and whose turn it is; every row that matches counts.
std::optional<BYTES> FAKE_OPENIPMI::ReplyTo(const SENT_REQUEST& a_Request) {
    const auto l_Bytes = a_Request.Bytes();
    const ROW* l_Found = nullptr;
    for (auto& l_Row : m_Rows) {
        const bool l_Matches = l_Row.m_Request.size() <= l_Bytes.size() &&
                               std::equal(l_Row.m_Request.begin(), l_Row.m_Request.end(), l_Bytes.begin());
        if (!l_Matches) continue;
        ++l_Row.m_Seen;
        if (l_Row.m_Nth == 0 || l_Row.m_Nth == l_Row.m_Seen) l_Found = &l_Row;
    }
    return l_Found != nullptr ? l_Found->m_Replier(a_Request) : BYTES{IPMI_INVALID_CMD_CC};
}

int FAKE_OPENIPMI::Send(SENT_REQUEST a_Request) {
    const std::lock_guard l_Guard(m_Guard);
    ++m_SentCount;
    if (m_bRecordRequests) m_Sent.push_back(a_Request);
    if (m_SendResult != 0) return m_SendResult;
    if (auto l_Reply = ReplyTo(a_Request)) m_Replies.emplace_back(std::move(a_Request), std::move(*l_Reply));
    m_Changed.notify_all();
    return 0;
}

std::optional<std::pair<SENT_REQUEST, BYTES>> FAKE_OPENIPMI::NextReply() {
    const std::lock_guard l_Guard(m_Guard);
    if (m_Replies.empty()) return std::nullopt;
    auto l_Reply = std::move(m_Replies.front());
    m_Replies.pop_front();
    return l_Reply;
}

bool FAKE_OPENIPMI::DeliverReply() {
    const auto l_Reply = NextReply();
    if (l_Reply) Deliver(l_Reply->first, l_Reply->second);
    return l_Reply.has_value();
}

bool FAKE_OPENIPMI::DeliverReply(const BYTES& a_Reply) {
    const auto l_Reply = NextReply();
    if (l_Reply) Deliver(l_Reply->first, a_Reply);
    return l_Reply.has_value();
}

std::size_t FAKE_OPENIPMI::Run(std::size_t a_Limit) {
    std::size_t l_Count = 0;
    while (l_Count < a_Limit && DeliverReply())
        ++l_Count;
    return l_Count;
}

int FAKE_OPENIPMI::Deliver(const SENT_REQUEST& a_Request, const BYTES& a_Reply) {
    // The bytes stand alone on the heap: a sanitizer sees the first byte read behind them.
    const auto l_Bytes = std::make_unique<unsigned char[]>(a_Reply.size());
    std::copy(a_Reply.begin(), a_Reply.end(), l_Bytes.get());
    ipmi_msgi_t l_Item{};
    std::copy(a_Request.m_Address.begin(), a_Request.m_Address.end(), reinterpret_cast<unsigned char*>(&l_Item.addr));
    l_Item.addr_len = static_cast<unsigned>(a_Request.m_Address.size());
    l_Item.msg.netfn = a_Request.m_NetFn | 1; // a response
    l_Item.msg.cmd = a_Request.m_Command;
    l_Item.msg.data_len = static_cast<unsigned short>(a_Reply.size());
    l_Item.msg.data = l_Bytes.get();
    l_Item.data1 = a_Request.m_Data1;
    l_Item.data2 = a_Request.m_Data2;
    return a_Request.m_Trampoline(a_Request.m_Domain, &l_Item);
}

int ipmi_send_command_addr(ipmi_domain_t* a_Domain, const ipmi_addr_t* a_Address, unsigned int a_AddressLength,
                           const ipmi_msg_t* a_Message, ipmi_addr_response_handler_t a_Trampoline, void* a_Data1,
                           void* a_Data2) {
    SENT_REQUEST l_Request;
    l_Request.m_Domain = a_Domain;
    const auto* l_Address = reinterpret_cast<const unsigned char*>(a_Address);
    l_Request.m_Address.assign(l_Address, l_Address + a_AddressLength);
    l_Request.m_NetFn = a_Message->netfn;
    l_Request.m_Command = a_Message->cmd;
    if (a_Message->data_len > 0) l_Request.m_Data.assign(a_Message->data, a_Message->data + a_Message->data_len);
    l_Request.m_Trampoline = a_Trampoline;
    l_Request.m_Data1 = a_Data1;
    l_Request.m_Data2 = a_Data2;
    return Fake().Send(std::move(l_Request));
}
