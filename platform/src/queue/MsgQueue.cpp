// The message queue: one Unix datagram socket a queue, named by its address in the folder of all queues.
//
// The kernel bounds a queue: a sender whose receiver does not read gets an error, and so does one whose receiver is
// gone.
#include "bm/MsgQueue.h"

#include "platform/src/queue/MsgQueue_Folder.h"
#include "platform/src/queue/MsgQueue_Message.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>

namespace {

thread_local uint32_t g_LastError = Q_ERROR_NONE;

std::mutex g_Guard;
std::map<int, std::string>& g_BoundFiles = *new std::map<int, std::string>; // queues may outlive static objects

int Fail(qError_e a_Error) {
    g_LastError = a_Error;
    return -1;
}

struct SOCKET_NAME {
    sockaddr_un m_Address{};

    /// False when the path does not fit.
    bool Set(const std::string& a_File) {
        m_Address.sun_family = AF_UNIX;
        if (a_File.size() >= sizeof(m_Address.sun_path)) return false;
        std::memcpy(m_Address.sun_path, a_File.c_str(), a_File.size() + 1);
        return true;
    }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&m_Address); }
};

std::string FileOf(const std::string& a_Folder, uint32_t a_Address) {
    char l_Name[16];
    std::snprintf(l_Name, sizeof(l_Name), "/0x%x", static_cast<unsigned>(a_Address));
    return a_Folder + l_Name;
}

bool IsAlive(const SOCKET_NAME& a_Name) {
    const int l_Socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (l_Socket < 0) return true;
    const bool l_Alive = ::connect(l_Socket, a_Name.Get(), sizeof(a_Name.m_Address)) == 0 || errno != ECONNREFUSED;
    ::close(l_Socket);
    return l_Alive;
}

qError_e ErrorOfSend(int a_Errno) {
    switch (a_Errno) {
    case EAGAIN:
    case ENOBUFS:
        return Q_ERROR_FULL;
    case ENOENT:
    case ECONNREFUSED:
        return Q_ERROR_NO_DESTINATION;
    case EBADF:
    case ENOTSOCK:
        return Q_ERROR_QUEUE;
    case EMSGSIZE:
        return Q_ERROR_TOO_LONG;
    default:
        return Q_ERROR_SYSTEM;
    }
}

} // namespace

int qDrvSetInterface(int a_Driver, int a_Interface) {
    if (a_Driver != 0 || a_Interface != 0) return Fail(Q_ERROR_INTERFACE);
    return bm_queue::QueueFolder(true) ? 0 : Fail(Q_ERROR_FOLDER);
}

int qQueueOpen(void) {
    const int l_Queue = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    // cppcheck-suppress resourceLeak ; the caller's, who closes it by qQueueClose
    return l_Queue >= 0 ? l_Queue : Fail(Q_ERROR_SYSTEM);
}

int qQueueBind(int a_Queue, uint32_t a_Address) {
    const auto l_Folder = bm_queue::QueueFolder(true);
    SOCKET_NAME l_Name;
    if (!l_Folder || !l_Name.Set(FileOf(*l_Folder, a_Address))) return Fail(Q_ERROR_FOLDER);
    const bm_queue::QUEUE_FOLDER_LOCK l_Lock(*l_Folder);
    if (!l_Lock.IsHeld()) return Fail(Q_ERROR_LOCKED);
    if (::bind(a_Queue, l_Name.Get(), sizeof(l_Name.m_Address)) != 0) {
        if (errno != EADDRINUSE) return Fail(ErrorOfSend(errno));
        if (IsAlive(l_Name)) return Fail(Q_ERROR_ADDRESS_TAKEN);
        ::unlink(l_Name.m_Address.sun_path); // left by a process that is gone
        if (::bind(a_Queue, l_Name.Get(), sizeof(l_Name.m_Address)) != 0) return Fail(ErrorOfSend(errno));
    }
    const std::lock_guard l_Guard(g_Guard);
    g_BoundFiles[a_Queue] = l_Name.m_Address.sun_path;
    return 0;
}

int qQueueClose(int a_Queue) {
    std::string l_File;
    {
        const std::lock_guard l_Guard(g_Guard);
        if (auto l_Found = g_BoundFiles.extract(a_Queue)) l_File = l_Found.mapped();
    }
    if (!l_File.empty()) ::unlink(l_File.c_str());
    return ::close(a_Queue) == 0 ? 0 : Fail(Q_ERROR_QUEUE);
}

qMsg* qMsgAllocate(uint32_t a_Type, uint32_t a_Source, uint32_t a_Destination) {
    auto* const l_Message = new (std::nothrow) qMsg;
    if (l_Message == nullptr) {
        Fail(Q_ERROR_MEMORY);
        return nullptr;
    }
    l_Message->m_Type = a_Type;
    l_Message->m_Source = a_Source;
    l_Message->m_Destination = a_Destination;
    return l_Message;
}

int qMsgWrite(int a_Queue, const qMsg* a_Message) {
    if (a_Message == nullptr) return Fail(Q_ERROR_ARGUMENT);
    const auto l_Folder = bm_queue::QueueFolder(false);
    SOCKET_NAME l_Name;
    if (!l_Folder || !l_Name.Set(FileOf(*l_Folder, a_Message->m_Destination))) return Fail(Q_ERROR_FOLDER);
    const auto l_Bytes = a_Message->Encode();
    const ssize_t l_Sent = ::sendto(a_Queue, l_Bytes.data(), l_Bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL, l_Name.Get(),
                                    sizeof(l_Name.m_Address));
    return l_Sent >= 0 ? 0 : Fail(ErrorOfSend(errno));
}

int qMsgRead(int a_Queue, qMsg** a_Message) {
    if (a_Message == nullptr) return Fail(Q_ERROR_ARGUMENT);
    *a_Message = nullptr;
    std::vector<uint8_t> l_Bytes(bm_queue::g_MaxQueueMessage + 1);
    const ssize_t l_Size = ::recv(a_Queue, l_Bytes.data(), l_Bytes.size(), MSG_DONTWAIT);
    if (l_Size < 0) return Fail(errno == EAGAIN ? Q_ERROR_EMPTY : ErrorOfSend(errno));
    l_Bytes.resize(static_cast<size_t>(l_Size));
    auto l_Message = l_Bytes.size() > bm_queue::g_MaxQueueMessage ? nullptr : qMsg::Decode(l_Bytes);
    if (!l_Message) return Fail(Q_ERROR_MALFORMED);
    *a_Message = l_Message.release();
    return 0;
}

void qMsgFree(qMsg* a_Message) {
    delete a_Message;
}

uint32_t qMsgType(const qMsg* a_Message) {
    return a_Message != nullptr ? a_Message->m_Type : 0;
}

uint32_t qMsgSource(const qMsg* a_Message) {
    return a_Message != nullptr ? a_Message->m_Source : 0;
}

int qMsgVarFieldGet(const qMsg* a_Message, uint32_t a_Field, void* a_Value, size_t* a_Size) {
    if (a_Message == nullptr || a_Size == nullptr || (a_Value == nullptr && *a_Size > 0)) return Fail(Q_ERROR_ARGUMENT);
    const auto l_Found = a_Message->m_Fields.find(a_Field);
    if (l_Found == a_Message->m_Fields.end()) return Fail(Q_ERROR_NO_FIELD);
    std::copy_n(l_Found->second.begin(), std::min(*a_Size, l_Found->second.size()), static_cast<uint8_t*>(a_Value));
    *a_Size = l_Found->second.size();
    return 0;
}

int qMsgVarFieldPut(qMsg* a_Message, uint32_t a_Field, const void* a_Value, size_t a_Size) {
    if (a_Message == nullptr || (a_Value == nullptr && a_Size > 0)) return Fail(Q_ERROR_ARGUMENT);
    if (a_Size > bm_queue::g_MaxQueueMessage) return Fail(Q_ERROR_TOO_LONG);
    const auto* const l_First = static_cast<const uint8_t*>(a_Value);
    auto l_Fields = a_Message->m_Fields;
    a_Message->m_Fields[a_Field].assign(l_First, l_First + a_Size);
    if (a_Message->EncodedSize() <= bm_queue::g_MaxQueueMessage) return 0;
    a_Message->m_Fields = std::move(l_Fields);
    return Fail(Q_ERROR_TOO_LONG);
}

uint32_t qStatusErrorGet(void) {
    return g_LastError;
}

const char* qStatusErrorName(uint32_t a_Error) {
    static constexpr const char* l_Names[] = {"no error",
                                              "no such interface",
                                              "the queues' folder cannot be used",
                                              "the address is taken",
                                              "no such queue",
                                              "the destination is not there",
                                              "the destination has no room left",
                                              "no message",
                                              "the message is too long",
                                              "what came is no message",
                                              "no such field",
                                              "bad argument",
                                              "no memory",
                                              "refused by the system",
                                              "another process does not let the folder go"};
    return a_Error < std::size(l_Names) ? l_Names[a_Error] : "unknown error";
}
