// A connection to the resident host's socket: bytes with deadlines.
#include "host/client/HostSocket.h"

#include "host/client/HttpWire.h"
#include "host/connect/DoorSocket.h"
#include "host/connect/Elsewhere.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace bmhost {

namespace {

[[noreturn]] void FailSocket(const std::string& path, int error) {
    throw std::system_error(error, std::generic_category(), path);
}

void CheckIsRead(const pollfd& output) {
    if ((output.revents & (POLLERR | POLLHUP)) != 0) throw NobodyReads();
}

// The same as long as somebody reads the output.
short WaitForWhileRead(int socket, short events, const Deadline& deadline, int output) {
    for (;;) {
        std::array wanted = {pollfd{socket, events, 0}, pollfd{output, 0, 0}};
        const int ready = poll(wanted.data(), wanted.size(), TimeLeft(deadline));
        if (ready > 0) CheckIsRead(wanted[1]);
        if (ready > 0 && wanted[0].revents != 0) return wanted[0].revents;
        if (ready < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
        if (deadline && std::chrono::steady_clock::now() >= *deadline) throw DeadlinePassed();
    }
}

// An address has room for 107 bytes; a longer path is reached through its folder.
sockaddr_un AddressOf(const HostPlace& place, bm_dev::UniqueFd& folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string path = place.Socket();
    if (path.size() >= sizeof address.sun_path) {
        folder = bm_dev::UniqueFd(open(place.m_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder) FailSocket(path, errno);
        path = "/proc/self/fd/" + std::to_string(folder.Get()) + path.substr(place.m_folder.size());
    }
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return address;
}

// Who cuts the connection off must not pass for a host that has said all.
void CheckEnded(TlsHelper& helper) {
    const std::string fault = helper.Fault();
    if (!fault.empty()) throw std::system_error(ECONNRESET, std::generic_category(), fault);
}

} // namespace

std::string RequestHeadFor(const HostPlace& place, HttpRequest request) {
    if (place.m_elsewhere != nullptr) {
        request.m_host = place.m_elsewhere->Authority();
        request.m_authorization = place.m_elsewhere->Authorization();
    }
    return RequestHead(request);
}

void CheckAdmitted(const HostPlace& place, unsigned status) {
    constexpr unsigned unknown = 401;
    constexpr unsigned tooMany = 429;
    if (place.m_elsewhere == nullptr) return;
    const std::string& account = place.m_elsewhere->m_account;
    if (status == unknown && account.empty())
        throw NotAdmitted(place.Text() + ": this needs an account: --account NAME --password-file FILE");
    if (status == unknown)
        throw NotAdmitted(place.Text() + ": the account " + account + " is unknown there, or the password is wrong");
    if (status == tooMany)
        throw NotAdmitted(place.Text() + ": too many wrong passwords for " + account + " or from here; wait a minute");
}

void WaitWhileRead(int output, std::chrono::milliseconds time) {
    pollfd wanted{output, 0, 0};
    if (poll(&wanted, 1, static_cast<int>(time.count())) > 0) CheckIsRead(wanted);
}

HostSocket::HostSocket(const HostPlace& place, const Deadline& deadline) {
    if (place.m_elsewhere != nullptr && place.m_elsewhere->m_tls) {
        m_helper = std::make_unique<TlsHelper>(HelperFile(), *place.m_elsewhere, m_socket);
        m_helper->AwaitReady(deadline);
        return;
    }
    if (place.m_elsewhere != nullptr) {
        m_socket = ConnectLoopback(*place.m_elsewhere, deadline);
        return;
    }
    m_socket = bm_dev::UniqueFd(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!m_socket) FailSocket("socket", errno);
    bm_dev::UniqueFd folder;
    const sockaddr_un address = AddressOf(place, folder);
    // EAGAIN: more clients wait than the host lets wait; there is nothing to poll for.
    constexpr std::chrono::milliseconds pause(5);
    while (connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno != EAGAIN && errno != EINTR) FailSocket(place.Socket(), errno);
        if (deadline && std::chrono::steady_clock::now() >= *deadline) throw DeadlinePassed();
        std::this_thread::sleep_for(pause);
    }
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(m_socket.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) m_process = peer.pid;
}

std::size_t HostSocket::Send(std::string_view bytes, const Deadline& deadline) {
    for (;;) {
        const short ready = WaitFor(m_socket.Get(), POLLIN | POLLOUT, deadline);
        if ((ready & POLLIN) != 0) return 0;
        const ssize_t sent = send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) return static_cast<std::size_t>(sent);
        if (errno != EAGAIN && errno != EINTR) return 0;
    }
}

NobodyReads::NobodyReads() : std::system_error(EPIPE, std::generic_category(), "standard output") {}

bool HostSocket::Receive(std::string& bytes, const Deadline& deadline, int output) {
    std::array<char, 65536> buffer{};
    for (;;) {
        WaitForWhileRead(m_socket.Get(), POLLIN, deadline, output);
        const ssize_t received = recv(m_socket.Get(), buffer.data(), buffer.size(), 0);
        if (received > 0) bytes.append(buffer.data(), static_cast<std::size_t>(received));
        if (received == 0 && m_helper != nullptr) CheckEnded(*m_helper);
        if (received >= 0) return received > 0;
        if (errno != EAGAIN && errno != EINTR) throw std::system_error(errno, std::generic_category(), "recv");
    }
}

bool HostSocket::HasNews() const {
    pollfd wanted{m_socket.Get(), POLLIN, 0};
    return poll(&wanted, 1, 0) != 0;
}

} // namespace bmhost
