// What the resident host of a blade says of itself, asked from outside the blade.
#include "sim/shelf/HostState.h"

#include "bm_dev/UniqueFd.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>

namespace bladesim {
namespace {

using nlohmann::json;

constexpr char Request[] = "GET /v1/blade/host HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
// It answers readers at once, whatever its blade does.
constexpr timeval AnswerTime{1, 0};
constexpr int Success = 1;

/// By a descriptor of its folder: the path may be longer than an address of a socket can be.
bm_dev::UniqueFd ConnectToHost(const std::string& folder) {
    const bm_dev::UniqueFd run(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    bm_dev::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(run.Get()) + "/bmhost.sock";
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) socket.Reset();
    return socket;
}

} // namespace

HostState StateIn(const std::string& answer) {
    const size_t body = answer.find("\r\n\r\n");
    if (body == std::string::npos) return HostState::Silent;
    const json host = json::parse(answer.substr(body), nullptr, false);
    if (!host.is_object() || !host.contains("init") || !host.contains("start")) return HostState::Silent;
    if (host["init"].is_null()) return HostState::Starting;
    const bool waitsForStart = host["init"].value("result", 0) == Success && host["start"].is_null();
    return waitsForStart ? HostState::Starting : HostState::Started;
}

HostState AskHost(pid_t inside, const std::string& runFolder) {
    const bm_dev::UniqueFd socket = ConnectToHost("/proc/" + std::to_string(inside) + "/root" + runFolder);
    if (!socket) return HostState::Silent;
    ::setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &AnswerTime, sizeof(AnswerTime));
    ::send(socket.Get(), Request, sizeof(Request) - 1, MSG_NOSIGNAL);
    std::string answer;
    std::array<char, 4096> bytes{};
    for (ssize_t size = 0; (size = ::recv(socket.Get(), bytes.data(), bytes.size(), 0)) > 0;)
        answer.append(bytes.data(), static_cast<size_t>(size));
    return StateIn(answer);
}

} // namespace bladesim
