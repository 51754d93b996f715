// A client of the socket that sends what no library would, and reads byte by byte what it wants to.
#include "Client.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

Client::Client(const std::string& socket) : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket.copy(address.sun_path, sizeof(address.sun_path) - 1);
    Connect(reinterpret_cast<const sockaddr&>(address), sizeof(address));
}

Client::Client(uint16_t port, const char* from) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, from, &address.sin_addr);
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        throw std::runtime_error(std::string("bind: ") + std::strerror(errno));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    Connect(reinterpret_cast<const sockaddr&>(address), sizeof(address));
}

void Client::Connect(const sockaddr& address, socklen_t size) const {
    const timeval patience{30, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    if (connect(m_socket, &address, size) != 0)
        throw std::runtime_error(std::string("connect: ") + std::strerror(errno));
}

void Client::Close() {
    if (m_socket >= 0) close(m_socket);
    m_socket = -1;
}

bool Client::Send(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t sent = Write(text.data(), text.size());
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) throw std::runtime_error("nobody reads");
        if (sent <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

ssize_t Client::Write(const char* bytes, std::size_t size) const {
    return send(m_socket, bytes, size, MSG_NOSIGNAL);
}

ssize_t Client::ReadByte(char& byte) const {
    return recv(m_socket, &byte, 1, 0);
}

void Client::SendWhatFits(std::string_view text) const {
    [[maybe_unused]] const ssize_t sent = send(m_socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void Client::FinishSending() const {
    shutdown(m_socket, SHUT_WR);
}

bool Client::IsDropped() const {
    constexpr int patience = 30'000;
    pollfd socket{m_socket, POLLRDHUP, 0}; // which comes alone when the kernel had taken all of an answer
    return poll(&socket, 1, patience) == 1 && (socket.revents & (POLLHUP | POLLRDHUP)) != 0;
}

std::optional<char> Client::Next() const {
    char byte = 0;
    const ssize_t got = ReadByte(byte);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) throw std::runtime_error("nothing comes");
    if (got <= 0) return std::nullopt;
    return byte;
}

HttpAnswer Client::Get(const std::string& path, const std::string& headers) const {
    Send("GET " + path + " HTTP/1.1\r\nHost: h\r\n" + headers + "\r\n");
    return Read();
}

HttpAnswer Client::Post(const std::string& path, const std::string& body, const std::string& type) const {
    Send("POST " + path + " HTTP/1.1\r\nHost: h\r\nContent-Type: " + type +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return Read();
}

HttpAnswer Client::Read(bool head) const {
    HttpAnswer answer;
    const std::string status = ReadUntil("\r\n");
    if (!status.starts_with("HTTP/1.1 ")) return answer;
    answer.m_status = std::stoi(status.substr(9));
    for (std::string line = ReadUntil("\r\n"); line.size() > 2; line = ReadUntil("\r\n")) {
        const auto colon = line.find(": ");
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        answer.m_headers[name] = line.substr(colon + 2, line.size() - colon - 4);
    }
    const auto length = answer.m_headers.find("content-length");
    if (head || length == answer.m_headers.end()) return answer;
    for (int left = std::stoi(length->second); left > 0; --left) {
        const auto byte = Next();
        if (!byte) throw std::runtime_error("the body ends too early");
        answer.m_body += *byte;
    }
    return answer;
}

std::string Client::ReadUntil(std::string_view text) const {
    std::string all;
    while (!std::string_view(all).ends_with(text)) {
        const auto byte = Next();
        if (!byte) break;
        all += *byte;
    }
    return all;
}

std::string Client::ReadToEnd() const {
    std::string all;
    while (const auto byte = Next())
        all += *byte;
    return all;
}
