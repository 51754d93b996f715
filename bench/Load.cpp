// For benchmarks: many clients of the web door at once, on one thread.
#include "bench/Load.h"

#include "bench/Programs.h"

#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <utility>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds LongestTurn(50);
constexpr std::chrono::seconds LongestWait(30);

std::string RequestFor(const std::string& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
}

/// What has come; nothing when the connection has ended.
std::optional<std::string_view> Received(int socket) {
    static std::array<char, 256 * 1024> bytes;
    const ssize_t count = ::recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return "";
    if (count <= 0) return std::nullopt;
    return std::string_view(bytes.data(), static_cast<std::size_t>(count));
}

void Watch(int events, int socket, void* client) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = client;
    ::epoll_ctl(events, EPOLL_CTL_ADD, socket, &event);
}

} // namespace

struct Client {
    explicit Client(int socket) : m_socket(socket) {}
    virtual ~Client() { ::close(m_socket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    virtual void Take() = 0;

    const int m_socket;
};

struct Load::Reader final : Client {
    Reader(Load& load, int socket, std::size_t path) : Client(socket), m_load(load), m_path(path) {}
    void Take() override { m_load.Take(*this); }

    Load& m_load;
    std::size_t m_path;
    bool m_waits = false;
    std::string m_head;
    std::optional<std::size_t> m_left; ///< of the body
    Clock::time_point m_asked;
};

struct Load::Stream final : Client {
    Stream(Load& load, int socket, std::size_t path) : Client(socket), m_load(load), m_path(path) {}
    void Take() override { m_load.Take(*this); }

    Load& m_load;
    const std::size_t m_path;
    bool m_begun = false;
    std::string m_line; ///< as far as it has come
    uint64_t m_first = 0;
    uint64_t m_last = 0;
};

Load::Load(uint16_t port, std::vector<std::string> paths, const std::vector<std::string>& streams)
    : m_port(port),
      m_streamPaths(streams),
      m_events(::epoll_create1(EPOLL_CLOEXEC)) {
    for (std::string& path : paths)
        m_result.m_paths.push_back({std::move(path), {}});
}

Load::~Load() {
    ::close(m_events);
}

int Load::Connected() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        Fail("the door does not let a client in");
    return socket;
}

void Load::Error(const std::string& reason) {
    if (m_result.m_errors++ == 0) m_result.m_firstError = reason;
}

void Load::Ask(Reader& reader) {
    const std::string request = RequestFor(m_result.m_paths[reader.m_path].m_path);
    reader.m_head.clear();
    reader.m_left.reset();
    reader.m_waits = true;
    reader.m_asked = Clock::now();
    if (::send(reader.m_socket, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        Error("a request cannot be sent");
}

void Load::Take(Reader& reader) {
    auto came = Received(reader.m_socket);
    if (!came) {
        ::epoll_ctl(m_events, EPOLL_CTL_DEL, reader.m_socket, nullptr);
        reader.m_waits = false;
        Error("a reader's connection ended");
        return;
    }
    if (!reader.m_left) {
        const std::size_t before = reader.m_head.size();
        reader.m_head += *came;
        const std::size_t end = reader.m_head.find("\r\n\r\n");
        if (end == std::string::npos) return;
        came->remove_prefix(end + 4 - before);
        reader.m_head.resize(end + 2);
        const std::size_t field = reader.m_head.find("Content-Length: ");
        if (!reader.m_head.starts_with("HTTP/1.1 200 ") || field == std::string::npos) Error(reader.m_head);
        reader.m_left = field == std::string::npos ? 0 : std::stoul(reader.m_head.substr(field + 16));
    }
    if (came->size() > *reader.m_left) Error("more has come than was asked for");
    *reader.m_left -= std::min(came->size(), *reader.m_left);
    if (*reader.m_left > 0) return;
    m_result.m_paths[reader.m_path].m_times.push_back(
        std::chrono::duration<double>(Clock::now() - reader.m_asked).count());
    reader.m_waits = false;
    reader.m_path = (reader.m_path + 1) % m_result.m_paths.size();
    if (m_asks) Ask(reader);
}

void Load::Take(Stream& stream) {
    auto came = Received(stream.m_socket);
    if (!came) {
        ::epoll_ctl(m_events, EPOLL_CTL_DEL, stream.m_socket, nullptr);
        Error("a stream of events ended");
        return;
    }
    for (const char letter : *came) {
        if (letter != '\n') {
            if (stream.m_line.size() < 100) stream.m_line += letter; // no more of it is looked at
            continue;
        }
        const std::string line = std::exchange(stream.m_line, {});
        if (line.starts_with(":")) stream.m_begun = true;
        if (line == "event: lost") ++m_result.m_lost;
        if (line.starts_with("HTTP/1.1 ") && !line.starts_with("HTTP/1.1 200 ")) Error(line);
        if (!line.starts_with("id: ")) continue;
        const uint64_t id = std::stoull(line.substr(4));
        if (stream.m_last != 0 && id != stream.m_last + 1) ++m_result.m_lost;
        if (stream.m_first == 0) stream.m_first = id;
        stream.m_last = id;
        m_lastNews = Clock::now();
    }
}

void Load::Turn(std::chrono::milliseconds wait) {
    std::array<epoll_event, 512> came{};
    const int count =
        ::epoll_wait(m_events, came.data(), static_cast<int>(came.size()), static_cast<int>(wait.count()));
    for (int i = 0; i < count; ++i)
        static_cast<Client*>(came.at(static_cast<std::size_t>(i)).data.ptr)->Take();
}

void Load::OpenStreams(std::size_t eachPath) {
    for (std::size_t i = 0; i < eachPath * m_streamPaths.size(); ++i) {
        const std::size_t path = i % m_streamPaths.size();
        m_streams.push_back(std::make_unique<Stream>(*this, Connected(), path));
        const std::string request = RequestFor(m_streamPaths[path]);
        ::send(m_streams.back()->m_socket, request.data(), request.size(), MSG_NOSIGNAL);
        Watch(m_events, m_streams.back()->m_socket, static_cast<Client*>(m_streams.back().get()));
    }
    const auto end = Clock::now() + LongestWait;
    while (!std::ranges::all_of(m_streams, [](const auto& stream) { return stream->m_begun; })) {
        if (Clock::now() > end) Fail("a stream of events does not begin: " + m_result.m_firstError);
        Turn(LongestTurn);
    }
}

void Load::Read(std::size_t readers, std::chrono::milliseconds time) {
    m_asks = true;
    for (std::size_t i = 0; i < readers; ++i) {
        m_readers.push_back(std::make_unique<Reader>(*this, Connected(), i % m_result.m_paths.size()));
        Watch(m_events, m_readers.back()->m_socket, static_cast<Client*>(m_readers.back().get()));
        Ask(*m_readers.back());
    }
    const auto end = Clock::now() + time;
    while (Clock::now() < end)
        Turn(LongestTurn);
    m_asks = false;
    while (std::ranges::any_of(m_readers, [](const auto& reader) { return reader->m_waits; })) {
        if (Clock::now() > end + LongestWait) {
            Error("a reader has no answer");
            break;
        }
        Turn(LongestTurn);
    }
    m_readers.clear();
}

bool Load::StreamsAgree() const {
    return std::ranges::all_of(m_streams, [this](const auto& stream) {
        const Stream& first = *m_streams[stream->m_path];
        return stream->m_first == first.m_first && stream->m_last == first.m_last;
    });
}

void Load::Settle(std::chrono::milliseconds quiet) {
    const auto end = Clock::now() + LongestWait;
    m_lastNews = Clock::now();
    while (Clock::now() < end && (Clock::now() < m_lastNews + quiet || !StreamsAgree()))
        Turn(LongestTurn);
}

LoadResult Load::End() {
    for (const auto& stream : m_streams) {
        const Stream& first = *m_streams[stream->m_path];
        const auto apart = [](uint64_t one, uint64_t other) { return std::max(one, other) - std::min(one, other); };
        m_result.m_lost += apart(stream->m_first, first.m_first) + apart(stream->m_last, first.m_last);
        if (stream->m_last != 0) m_result.m_events = std::max(m_result.m_events, stream->m_last - stream->m_first + 1);
    }
    m_readers.clear();
    m_streams.clear();
    return std::move(m_result);
}

} // namespace bench
