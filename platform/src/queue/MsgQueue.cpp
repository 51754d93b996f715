// The message queue: one Unix datagram socket per queue, named by its address, in the folder of all queues.
//
// The kernel limits a queue's size: a sender gets an error when its receiver does not read, and when its receiver is
// gone.
#include "bm/MsgQueue.h"

#include "bm_dev/UniqueFd.h"

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

thread_local uint32_t lastError = Q_ERROR_NONE;

std::mutex boundFilesGuard;
std::map<int, std::string>& boundFiles = *new std::map<int, std::string>; // queues may outlive static objects

int Fail(qError_e error) {
    lastError = error;
    return -1;
}

struct SocketName {
    sockaddr_un m_address{};

    /// False when the path is too long.
    bool Set(const std::string& file) {
        m_address.sun_family = AF_UNIX;
        if (file.size() >= sizeof(m_address.sun_path)) return false;
        std::memcpy(m_address.sun_path, file.c_str(), file.size() + 1);
        return true;
    }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
};

std::string FileOf(const std::string& folder, uint32_t address) {
    char name[16];
    std::snprintf(name, sizeof(name), "/0x%x", static_cast<unsigned>(address));
    return folder + name;
}

bool IsAlive(const SocketName& name) {
    const bm_dev::UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket) return true;
    return ::connect(socket.Get(), name.Get(), sizeof(name.m_address)) == 0 || errno != ECONNREFUSED;
}

qError_e ErrorOfSend(int errorNumber) {
    switch (errorNumber) {
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

int qDrvSetInterface(int driver, int interface) {
    if (driver != 0 || interface != 0) return Fail(Q_ERROR_INTERFACE);
    return bm_queue::QueueFolder(true) ? 0 : Fail(Q_ERROR_FOLDER);
}

int qQueueOpen(void) {
    const int queue = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    // cppcheck-suppress resourceLeak ; the caller closes it with qQueueClose
    return queue >= 0 ? queue : Fail(Q_ERROR_SYSTEM);
}

int qQueueBind(int queue, uint32_t address) {
    const auto folder = bm_queue::QueueFolder(true);
    SocketName name;
    if (!folder || !name.Set(FileOf(*folder, address))) return Fail(Q_ERROR_FOLDER);
    const bm_queue::QueueFolderLock lock(*folder);
    if (!lock.IsHeld()) return Fail(Q_ERROR_LOCKED);
    if (::bind(queue, name.Get(), sizeof(name.m_address)) != 0) {
        if (errno != EADDRINUSE) return Fail(ErrorOfSend(errno));
        if (IsAlive(name)) return Fail(Q_ERROR_ADDRESS_TAKEN);
        ::unlink(name.m_address.sun_path); // left by a process that is gone
        if (::bind(queue, name.Get(), sizeof(name.m_address)) != 0) return Fail(ErrorOfSend(errno));
    }
    const std::lock_guard guard(boundFilesGuard);
    boundFiles[queue] = name.m_address.sun_path;
    return 0;
}

int qQueueClose(int queue) {
    std::string file;
    {
        const std::lock_guard guard(boundFilesGuard);
        if (auto found = boundFiles.extract(queue)) file = found.mapped();
    }
    if (!file.empty()) ::unlink(file.c_str());
    return ::close(queue) == 0 ? 0 : Fail(Q_ERROR_QUEUE);
}

qMsg* qMsgAllocate(uint32_t type, uint32_t source, uint32_t destination) {
    auto* const decoded = new (std::nothrow) qMsg;
    if (decoded == nullptr) {
        Fail(Q_ERROR_MEMORY);
        return nullptr;
    }
    decoded->m_type = type;
    decoded->m_source = source;
    decoded->m_destination = destination;
    return decoded;
}

int qMsgWrite(int queue, const qMsg* message) {
    if (message == nullptr) return Fail(Q_ERROR_ARGUMENT);
    const auto folder = bm_queue::QueueFolder(false);
    SocketName name;
    if (!folder || !name.Set(FileOf(*folder, message->m_destination))) return Fail(Q_ERROR_FOLDER);
    const auto bytes = message->Encode();
    const ssize_t sent =
        ::sendto(queue, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL, name.Get(), sizeof(name.m_address));
    return sent >= 0 ? 0 : Fail(ErrorOfSend(errno));
}

int qMsgRead(int queue, qMsg** message) {
    if (message == nullptr) return Fail(Q_ERROR_ARGUMENT);
    *message = nullptr;
    std::vector<uint8_t> bytes(bm_queue::MaxQueueMessage + 1);
    const ssize_t size = ::recv(queue, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size < 0) return Fail(errno == EAGAIN ? Q_ERROR_EMPTY : ErrorOfSend(errno));
    bytes.resize(static_cast<size_t>(size));
    auto decoded = bytes.size() > bm_queue::MaxQueueMessage ? nullptr : qMsg::Decode(bytes);
    if (!decoded) return Fail(Q_ERROR_MALFORMED);
    *message = decoded.release();
    return 0;
}

void qMsgFree(qMsg* message) {
    delete message;
}

uint32_t qMsgType(const qMsg* message) {
    return message != nullptr ? message->m_type : 0;
}

uint32_t qMsgSource(const qMsg* message) {
    return message != nullptr ? message->m_source : 0;
}

int qMsgVarFieldGet(const qMsg* message, uint32_t field, void* value, size_t* size) {
    if (message == nullptr || size == nullptr || (value == nullptr && *size > 0)) return Fail(Q_ERROR_ARGUMENT);
    const auto found = message->m_fields.find(field);
    if (found == message->m_fields.end()) return Fail(Q_ERROR_NO_FIELD);
    std::copy_n(found->second.begin(), std::min(*size, found->second.size()), static_cast<uint8_t*>(value));
    *size = found->second.size();
    return 0;
}

int qMsgVarFieldPut(qMsg* message, uint32_t field, const void* value, size_t size) {
    if (message == nullptr || (value == nullptr && size > 0)) return Fail(Q_ERROR_ARGUMENT);
    if (size > bm_queue::MaxQueueMessage) return Fail(Q_ERROR_TOO_LONG);
    const auto* const first = static_cast<const uint8_t*>(value);
    auto fields = message->m_fields;
    message->m_fields[field].assign(first, first + size);
    if (message->EncodedSize() <= bm_queue::MaxQueueMessage) return 0;
    message->m_fields = std::move(fields);
    return Fail(Q_ERROR_TOO_LONG);
}

uint32_t qStatusErrorGet(void) {
    return lastError;
}

const char* qStatusErrorName(uint32_t error) {
    static constexpr const char* names[] = {"no error",
                                            "no such interface",
                                            "the queues' folder cannot be used",
                                            "the address is taken",
                                            "no such queue",
                                            "the destination does not exist",
                                            "the destination's queue is full",
                                            "no message",
                                            "the message is too long",
                                            "not a message",
                                            "no such field",
                                            "bad argument",
                                            "no memory",
                                            "refused by the system",
                                            "another process holds the lock of the queues' folder"};
    return error < std::size(names) ? names[error] : "unknown error";
}
