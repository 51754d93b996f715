// Loaded before the C library where there is no FUSE: gives a program the PCI driver's file as a connection to the
// process that keeps its records. A write that passes here waits for that process's answer. One that does not, from
// within the C library (a stream's, for instance), is a packet on the connection and thus a record, too, but learns of
// no refusal.
#include "sim/base/DriverAddress.h"
#include "sim/base/DriverFilePacket.h"
#include "sim/base/PassedFd.h"
#include "sim/preload/OpenCalls.h"

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace bladesim;

namespace {

/// The process that keeps the records has ended: as a file of a FUSE whose process has.
constexpr int Gone = ENOTCONN;

int Fail(int error) {
    errno = error;
    return -1;
}

void CloseAndKeepErrno(int fd) {
    const int error = errno;
    ::close(fd);
    errno = error;
}

/// The result of the packet that was sent, or -1 with errno.
int Answer(int socket) {
    DriverFileResult answer{};
    ssize_t size = 0;
    do {
        size = ::recv(socket, &answer, sizeof(answer), 0);
    } while (size < 0 && errno == EINTR);
    if (size != static_cast<ssize_t>(sizeof(answer))) return Fail(Gone);
    return answer.m_result < 0 ? Fail(-answer.m_result) : answer.m_result;
}

/// The flags for a descriptor that is not to be seen are those that count; the socket waits until it has been answered.
bool AskToOpen(int fd, int flags) {
    const DriverFileOpen open{flags & O_ACCMODE};
    if (SendWithFd(fd, &open, sizeof(open), -1) < 0) {
        errno = Gone;
        return false;
    }
    if (Answer(fd) < 0) return false;
    return (flags & O_NONBLOCK) == 0 || ::fcntl(fd, F_SETFL, O_NONBLOCK) == 0;
}

/// False when the path is another one, or this blade has no such file: there may be another one then.
bool OpenIfDriverFile(const char* path, int flags, int& fd) {
    if (path == nullptr || std::strcmp(path, DriverFilePath) != 0) return false;
    fd = ::socket(AF_UNIX, SOCK_SEQPACKET | ((flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0), 0);
    if (fd < 0) return true;
    const SocketAddress address = DriverFileAddress();
    const bool found = ::connect(fd, address.Get(), address.m_length) == 0;
    if (found && AskToOpen(fd, flags)) return true;
    CloseAndKeepErrno(fd);
    fd = -1;
    return found;
}

/// Whatever flags the descriptor has, the driver's answer is waited for.
ssize_t WriteRecord(int fd, iovec* pieces, size_t count) {
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) return Fail(ENOMEM);
    ssize_t result = 0;
    while ((result = SendPiecesWithFd(fd, pieces, count, pair[1])) < 0 && (errno == EAGAIN || errno == EINTR)) {
        pollfd room{fd, POLLOUT, 0};
        ::poll(&room, 1, -1);
    }
    if (result < 0 && errno != EFAULT) errno = Gone;
    ::close(pair[1]);
    if (result >= 0) result = Answer(pair[0]);
    CloseAndKeepErrno(pair[0]);
    return result;
}

/// Copies of the pieces, no longer than a packet may be; the driver refuses one of that length. Nothing to write is no
/// record.
ssize_t WritePieces(int fd, const iovec* callers, size_t count) {
    constexpr size_t maxPieces = 64;
    iovec pieces[maxPieces];
    size_t used = 0;
    size_t left = MaxDriverPacket;
    for (size_t index = 0; index < count && left > 0; ++index) {
        if (used == maxPieces) return Fail(EINVAL);
        const iovec& piece = callers[index];
        pieces[used] = {piece.iov_base, piece.iov_len < left ? piece.iov_len : left};
        left -= pieces[used++].iov_len;
    }
    return left == MaxDriverPacket ? 0 : WriteRecord(fd, pieces, used);
}

/// The mode of fopen as flags of open.
int FlagsOf(const char* mode) {
    const bool both = std::strchr(mode, '+') != nullptr;
    const int access = both ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
    return access | (std::strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0);
}

bool StreamIfDriverFile(const char* path, const char* mode, FILE*& stream) {
    int fd = -1;
    if (mode == nullptr || !OpenIfDriverFile(path, FlagsOf(mode), fd)) return false;
    stream = fd < 0 ? nullptr : ::fdopen(fd, mode);
    return true;
}

} // namespace

extern "C" {

// The names are the C library's, and the analyzer misses the va_start of a macro.
// NOLINTBEGIN

BLADESIM_OPEN_CALLS(OpenIfDriverFile)

#define BLADESIM_FOPEN(NAME)                                                                                           \
    BLADESIM_EXPORT FILE* NAME(const char* path, const char* mode) {                                                   \
        FILE* stream = nullptr;                                                                                        \
        if (StreamIfDriverFile(path, mode, stream)) return stream;                                                     \
        return Next<FILE* (*)(const char*, const char*)>(#NAME)(path, mode);                                           \
    }

BLADESIM_FOPEN(fopen)
BLADESIM_FOPEN(fopen64)

BLADESIM_EXPORT ssize_t write(int fd, const void* bytes, size_t size) {
    static ssize_t (*next)(int, const void*, size_t) = nullptr;
    const iovec piece{const_cast<void*>(bytes), size};
    if (IsConnectedTo(fd, DriverFileAddress())) return WritePieces(fd, &piece, 1);
    if (next == nullptr) next = Next<ssize_t (*)(int, const void*, size_t)>("write");
    return next(fd, bytes, size);
}

BLADESIM_EXPORT ssize_t writev(int fd, const iovec* pieces, int count) {
    static ssize_t (*next)(int, const iovec*, int) = nullptr;
    if (count > 0 && IsConnectedTo(fd, DriverFileAddress())) return WritePieces(fd, pieces, static_cast<size_t>(count));
    if (next == nullptr) next = Next<ssize_t (*)(int, const iovec*, int)>("writev");
    return next(fd, pieces, count);
}

// NOLINTEND
}
