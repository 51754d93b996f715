// Serves the PCI driver's file where there is no FUSE: to programs that the preload library connects to it.
#include "sim/pstn/DriverFileServer.h"

#include "sim/base/DriverFilePacket.h"
#include "sim/base/Error.h"
#include "sim/base/PassedFd.h"
#include "sim/base/Sockets.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <map>
#include <utility>
#include <vector>

namespace bladesim {
namespace {

/// A connection: an open file, once it has asked for that.
struct OpenFile {
    bm_dev::UniqueFd m_socket;
    int m_number = 0; ///< of the open; 0: it has not asked yet
    int m_accessMode = O_RDWR;
};

class DriverFileServer {
public:
    DriverFileServer(DriverFileLog log, bm_dev::UniqueFd listener)
        : m_log(std::move(log)),
          m_listener(std::move(listener)) {}

    [[noreturn]] void Run() {
        for (;;) {
            std::vector<pollfd> events = {{m_listener.Get(), POLLIN, 0}};
            for (const auto& file : m_files)
                events.push_back({file.first, POLLIN, 0});
            ::poll(events.data(), events.size(), -1);
            for (const pollfd& event : events) {
                if (event.revents != 0) Handle(event.fd);
            }
        }
    }

private:
    void Handle(int fd) {
        if (fd == m_listener.Get()) {
            TakeConnection();
            return;
        }
        const auto found = m_files.find(fd);
        if (!ReadPacket(found->second)) m_files.erase(found);
    }

    void TakeConnection() {
        bm_dev::UniqueFd socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        const int fd = socket.Get();
        if (socket) m_files.emplace(fd, OpenFile{std::move(socket)});
    }

    /// False when the connection has come to its end. A record that is too long is cut by one byte less than that.
    bool ReadPacket(OpenFile& file) {
        std::array<char, MaxDriverPacket> bytes{};
        int passed = -1;
        const ssize_t size = ReceiveWithFd(file.m_socket.Get(), bytes.data(), bytes.size(), passed);
        const bm_dev::UniqueFd answerSocket(passed);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) return true;
        if (size <= 0) return false;
        const std::string_view packet(bytes.data(), static_cast<size_t>(size));
        if (file.m_number == 0) return Open(file, packet);
        const int result =
            file.m_accessMode == O_RDONLY ? -EBADF : m_log.Write(static_cast<unsigned>(file.m_number), packet);
        if (answerSocket) Send(answerSocket, result);
        return true;
    }

    /// As for a file of root's that others may read. Nothing is ever sent after the answer, so that reading finds the
    /// end.
    bool Open(OpenFile& file, std::string_view packet) {
        DriverFileOpen open{};
        if (packet.size() != sizeof(open)) return false;
        packet.copy(reinterpret_cast<char*>(&open), sizeof(open));
        file.m_accessMode = open.m_accessMode;
        const bool isPermitted = open.m_accessMode == O_RDONLY || IsOwn(file.m_socket);
        const int result = isPermitted ? m_log.Open() : -EACCES;
        Send(file.m_socket, result);
        ::shutdown(file.m_socket.Get(), SHUT_WR);
        file.m_number = result;
        return result > 0;
    }

    static bool IsOwn(const bm_dev::UniqueFd& socket) {
        ucred peer{};
        socklen_t size = sizeof(peer);
        return ::getsockopt(socket.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
    }

    static void Send(const bm_dev::UniqueFd& socket, int32_t result) {
        const DriverFileResult answer{result};
        SendWithFd(socket.Get(), &answer, sizeof(answer), -1, MSG_DONTWAIT);
    }

    DriverFileLog m_log;
    bm_dev::UniqueFd m_listener;
    std::map<int, OpenFile> m_files; ///< by their sockets
};

} // namespace

pid_t StartDriverFileServer(DriverFileLog& log) {
    bm_dev::UniqueFd listener = ListenAt(DriverFileAddress(), SOCK_SEQPACKET, DriverFilePath);
    const pid_t process = ::fork();
    if (process < 0) ThrowErrno(std::string(DriverFilePath) + ": cannot be served");
    if (process == 0) DriverFileServer(std::move(log), std::move(listener)).Run();
    return process;
}

} // namespace bladesim
