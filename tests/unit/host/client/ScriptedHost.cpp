// A resident host whose every answer is a script: for what a client makes of good and bad ones.
#include "host/client/ScriptedHost.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>

std::string Peer::Request() {
    const auto readMore = [this] {
        std::array<char, 65536> bytes{};
        const ssize_t count = recv(m_socket.Get(), bytes.data(), bytes.size(), 0);
        if (count > 0) m_read.append(bytes.data(), static_cast<std::size_t>(count));
        return count > 0;
    };
    std::size_t head = 0;
    while ((head = m_read.find("\r\n\r\n")) == std::string::npos) {
        if (!readMore()) return "";
    }
    std::size_t size = head + 4;
    const std::string length = "Content-Length: ";
    if (const std::size_t at = m_read.find(length); at < head) size += std::stoul(m_read.substr(at + length.size()));
    while (m_read.size() < size) {
        if (!readMore()) return "";
    }
    std::string request = m_read.substr(0, size);
    m_read.erase(0, size);
    return request;
}

void Peer::Send(const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t sent = send(m_socket.Get(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent <= 0) return; // the client has had enough
        done += static_cast<std::size_t>(sent);
    }
}

void Peer::AwaitEnd() {
    std::array<char, 4096> bytes{};
    while (recv(m_socket.Get(), bytes.data(), bytes.size(), 0) > 0) {
    }
}

void Peer::Cut() {
    shutdown(m_socket.Get(), SHUT_RDWR);
}

HostRunFolder::HostRunFolder() {
    setenv("BLADESIM_RUN_DIR", m_folder.Path().c_str(), 1);
}

HostRunFolder::~HostRunFolder() {
    unsetenv("BLADESIM_RUN_DIR");
}

ScriptedHost::ScriptedHost(std::vector<Script> scripts)
    : m_scripts(std::move(scripts)),
      m_listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = Place().Socket();
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    if (bind(m_listening.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(m_listening.Get(), 10) != 0)
        throw std::runtime_error("a socket at " + path);
    m_listener = std::thread([this] { Listen(m_scripts); });
}

ScriptedHost::~ScriptedHost() {
    Die();
    for (std::thread& thread : m_threads)
        thread.join();
}

void ScriptedHost::Die() {
    if (!m_listener.joinable()) return;
    shutdown(m_listening.Get(), SHUT_RDWR);
    m_listener.join();
    m_listening.Reset();
    const std::lock_guard lock(m_guard);
    for (Peer& peer : m_peers)
        peer.Cut();
}

void ScriptedHost::Listen(const std::vector<Script>& scripts) {
    for (std::size_t number = 0;; ++number) {
        const int connection = accept4(m_listening.Get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) return;
        const Script& script = scripts[std::min(number, scripts.size() - 1)];
        const std::lock_guard lock(m_guard);
        Peer& peer = m_peers.emplace_back(connection);
        m_threads.emplace_back([&peer, &script] {
            script(peer);
            peer.Cut();
        });
    }
}

std::string JsonAnswer(unsigned status, const std::string& body) {
    return "HTTP/1.1 " + std::to_string(status) +
           " Status\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
}

ScriptedHost::Script Always(const std::string& answer) {
    return [answer](Peer& peer) {
        while (!peer.Request().empty())
            peer.Send(answer);
    };
}
