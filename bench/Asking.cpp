// For benchmarks: a client that asks over HTTP and waits, and the resident host that it asks.
#include "bench/Asking.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds LongestStart(30);

std::string SocketPath() {
    const char* const folder = std::getenv("BLADESIM_RUN_DIR");
    return std::string(folder != nullptr ? folder : "") + "/bmhost.sock";
}

Words WordsOfHost(const Words& options) {
    Words words = {BM_BIN_DIR "/bmhostd", "--no-start"};
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

} // namespace

Asking::Asking() : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    SocketPath().copy(address.sun_path, sizeof(address.sun_path) - 1);
    m_connected = ::connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

Asking::Asking(uint16_t port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    m_connected = ::connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

std::string Asking::Get(const std::string& path) {
    return Answer("GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

std::string Asking::Post(const std::string& path, const std::string& body) {
    return Answer("POST " + path +
                  " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\nContent-Length: " +
                  std::to_string(body.size()) + "\r\n\r\n" + body);
}

std::string Asking::Answer(const std::string& request) {
    if (::send(m_socket.Get(), request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        Fail("a request cannot be sent");
    std::size_t end = 0;
    while ((end = m_read.find("\r\n\r\n")) == std::string::npos)
        ReadOn();
    const std::string head = m_read.substr(0, end + 2);
    const std::size_t field = head.find("Content-Length: ");
    if (head.find(" 200 ") == std::string::npos || field == std::string::npos) Fail("no answer: " + head);
    const std::size_t size = std::stoul(head.substr(field + 16));
    while (m_read.size() < end + 4 + size)
        ReadOn();
    std::string body = m_read.substr(end + 4, size);
    m_read.erase(0, end + 4 + size);
    return body;
}

void Asking::ReadOn() {
    char bytes[65536];
    const ssize_t count = ::recv(m_socket.Get(), bytes, sizeof(bytes), 0);
    if (count <= 0) Fail("a server went away");
    m_read.append(bytes, static_cast<std::size_t>(count));
}

nlohmann::json Part(const std::string& name) {
    return nlohmann::json::parse(Asking().Get("/v1/blade/" + name));
}

void SetLed(Asking& host, bool on) {
    host.Post("/v1/orders/led-set", on ? R"({"bay":0,"led":3,"action":"on"})" : R"({"bay":0,"led":3,"action":"off"})");
}

void FillTheRings() {
    // Each is a request, a piece of news and two lines at least; of the lines 10,000 are kept, of the others fewer.
    constexpr int orders = 5200;
    Asking host;
    for (int i = 0; i < orders; ++i)
        SetLed(host, i % 2 == 0);
}

Host::Host(const Words& options) : m_program(WordsOfHost(options)) {
    const auto begin = Clock::now();
    while (!Asking().Connected() || Part("host")["init"].is_null()) {
        if (Clock::now() - begin > LongestStart) Fail("the resident host does not come up");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace bench
