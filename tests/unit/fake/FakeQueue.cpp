// A message queue whose other side answers as told; see the header.
#include "fake/FakeQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <utility>

namespace {

std::mutex& g_Lock = *new std::mutex;
std::deque<qMsg>& g_Incoming = *new std::deque<qMsg>; // as many as the descriptor counts

void Enqueue(const qMsg& a_Message) {
    g_Incoming.push_back(a_Message);
    eventfd_write(FakeQueue().m_Descriptor, 1);
}

} // namespace

qMsg& qMsg::Number(uint32_t a_Field, uint32_t a_Value) {
    m_Fields[a_Field].assign(reinterpret_cast<const char*>(&a_Value), sizeof a_Value);
    return *this;
}

qMsg& qMsg::Text(uint32_t a_Field, const std::string& a_Text) {
    m_Fields[a_Field] = a_Text;
    return *this;
}

std::optional<uint32_t> qMsg::NumberOf(uint32_t a_Field) const {
    uint32_t l_Value = 0;
    const auto l_Field = m_Fields.find(a_Field);
    if (l_Field == m_Fields.end() || l_Field->second.size() != sizeof l_Value) return std::nullopt;
    memcpy(&l_Value, l_Field->second.data(), sizeof l_Value);
    return l_Value;
}

FAKE_QUEUE& FakeQueue() {
    static FAKE_QUEUE& s_Queue = *new FAKE_QUEUE;
    return s_Queue;
}

void FAKE_QUEUE::Receive(const qMsg& a_Message) {
    const std::lock_guard l_Guard(g_Lock);
    Enqueue(a_Message);
}

void FAKE_QUEUE::Reset() {
    const std::lock_guard l_Guard(g_Lock);
    if (m_Descriptor >= 0) close(m_Descriptor);
    g_Incoming.clear();
    *this = {};
}

int qDrvSetInterface(int a_Driver, int a_Interface) {
    const std::lock_guard l_Guard(g_Lock);
    FakeQueue().m_Calls.push_back("qDrvSetInterface " + std::to_string(a_Driver) + " " + std::to_string(a_Interface));
    return FakeQueue().m_DriverResult;
}

int qQueueOpen() {
    const std::lock_guard l_Guard(g_Lock);
    FakeQueue().m_Calls.emplace_back("qQueueOpen");
    if (FakeQueue().m_OpenResult < 0) return FakeQueue().m_OpenResult;
    FakeQueue().m_Descriptor = eventfd(0, EFD_SEMAPHORE | EFD_NONBLOCK | EFD_CLOEXEC);
    return FakeQueue().m_Descriptor;
}

int qQueueBind(int a_Queue, uint32_t a_Address) {
    const std::lock_guard l_Guard(g_Lock);
    std::array<char, 64> l_Text{};
    snprintf(l_Text.data(), l_Text.size(), "qQueueBind 0x%x", a_Address);
    FakeQueue().m_Calls.emplace_back(l_Text.data());
    return a_Queue == FakeQueue().m_Descriptor ? FakeQueue().m_BindResult : -1;
}

int qQueueClose(int a_Queue) {
    const std::lock_guard l_Guard(g_Lock);
    FakeQueue().m_Calls.emplace_back("qQueueClose");
    if (a_Queue != FakeQueue().m_Descriptor) return -1;
    g_Incoming.clear();
    return close(std::exchange(FakeQueue().m_Descriptor, -1));
}

qMsg* qMsgAllocate(uint32_t a_Type, uint32_t a_Source, uint32_t a_Destination) {
    const std::lock_guard l_Guard(g_Lock);
    if (FakeQueue().m_NotAllocated.contains(a_Type)) return nullptr;
    ++FakeQueue().m_Messages;
    return new qMsg{a_Type, a_Source, a_Destination};
}

int qMsgWrite(int a_Queue, const qMsg* a_Message) {
    const std::lock_guard l_Guard(g_Lock);
    FakeQueue().m_Sent.push_back(*a_Message);
    if (a_Queue != FakeQueue().m_Descriptor || FakeQueue().m_NotWritten.contains(a_Message->m_Type)) return -1;
    const auto l_Answer = FakeQueue().m_Answers.find(a_Message->m_Type);
    if (l_Answer != FakeQueue().m_Answers.end()) Enqueue(l_Answer->second);
    return 0;
}

int qMsgRead(int a_Queue, qMsg** a_Message) {
    const std::lock_guard l_Guard(g_Lock);
    eventfd_t l_Count = 0;
    if (FakeQueue().m_bNotRead || eventfd_read(a_Queue, &l_Count) != 0) return -1;
    if (FakeQueue().m_bReadsNothing) return 0;
    ++FakeQueue().m_Messages;
    *a_Message = new qMsg(g_Incoming.front());
    g_Incoming.pop_front();
    return 0;
}

void qMsgFree(qMsg* a_Message) {
    const std::lock_guard l_Guard(g_Lock);
    if (a_Message != nullptr) --FakeQueue().m_Messages;
    delete a_Message;
}

uint32_t qMsgType(const qMsg* a_Message) {
    return a_Message->m_Type;
}

uint32_t qMsgSource(const qMsg* a_Message) {
    return a_Message->m_Source;
}

int qMsgVarFieldGet(const qMsg* a_Message, uint32_t a_Field, void* a_Value, size_t* a_Size) {
    const auto l_Field = a_Message->m_Fields.find(a_Field);
    if (l_Field == a_Message->m_Fields.end()) return -1;
    const std::string& l_Bytes = l_Field->second;
    memcpy(a_Value, l_Bytes.data(), std::min(*a_Size, l_Bytes.size()));
    *a_Size = l_Bytes.size();
    return 0;
}

int qMsgVarFieldPut(qMsg* a_Message, uint32_t a_Field, const void* a_Value, size_t a_Size) {
    const std::lock_guard l_Guard(g_Lock);
    if (FakeQueue().m_NotPut.contains(a_Field)) return -1;
    a_Message->m_Fields[a_Field].assign(static_cast<const char*>(a_Value), a_Size);
    return 0;
}

uint32_t qStatusErrorGet() {
    const std::lock_guard l_Guard(g_Lock);
    return FakeQueue().m_Error;
}
