// The client's end of the resident host's socket.
#include "host/client/HostClient.h"

#include "host/client/HostOwner.h"
#include "host/client/HostSocket.h"
#include "host/client/HttpWire.h"
#include "host/client/ServerEvents.h"
#include "host/client/Waiting.h"
#include "host/client/WireRows.h"
#include "host/words/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

using nlohmann::ordered_json;

class SocketClient final : public HostClient {
public:
    SocketClient(HostPlace place, std::optional<std::chrono::milliseconds> timeout, HostSocket socket)
        : m_place(std::move(place)),
          m_timeout(timeout),
          m_process(socket.Process()),
          m_socket(std::move(socket)) {}

    void SpeakFor(const std::string& account) override { m_account = account; }

    HostAnswer Get(const std::string& path) override {
        const HttpRequest request{"GET", path, "", 0, {}, m_account};
        return Ask(request, [](const Deadline&) {});
    }

    HostAnswer Post(const std::string& path, const nlohmann::json& body) override {
        const std::string text = body.dump();
        const HttpRequest request{"POST", path, "application/json", text.size(), {}, m_account};
        return Ask(request, [&](const Deadline& deadline) { Send(text, deadline); });
    }

    HostAnswer PostFile(const std::string& path, int descriptor, uint64_t size,
                        const std::function<void(uint64_t sent)>& progress) override {
        const HttpRequest request{"POST", path, "application/octet-stream", size, {}, m_account};
        return Ask(request, [&](const Deadline&) { SendFile(descriptor, size, progress); });
    }

    void Events(uint64_t after, const std::function<bool(const ServerEvent&)>& reader, int output) override {
        constexpr std::chrono::hours wait(1);
        EventStream stream(m_place, after, output);
        for (;;) {
            const auto event = stream.Next(wait);
            if (event && !reader(*event)) return;
        }
    }

    HostEnd End() const override { return {m_place, m_process}; }

private:
    [[noreturn]] void Fail(const HttpRequest& request, const std::string& what, const std::string& why = "") {
        m_socket.reset();
        throw std::runtime_error(PlacedHostText(End()) + " " + what + " `" + request.Name() + "`" +
                                 (why.empty() ? "" : ": ") + why);
    }

    // The host may have closed a connection that was idle for too long: that one has an end to read.
    void Connect(const Deadline& deadline) {
        if (m_socket && !m_socket->HasNews()) return;
        m_socket.emplace(m_place, deadline);
        m_process = m_socket->Process();
    }

    // False when the host answers before it has all, or has closed the connection.
    bool Send(std::string_view text, const Deadline& deadline) {
        while (!text.empty()) {
            const std::size_t sent = m_socket->Send(text, deadline);
            if (sent == 0) return false;
            text.remove_prefix(sent);
        }
        return true;
    }

    // The time is counted from each piece that the host takes.
    void SendFile(int descriptor, uint64_t size, const std::function<void(uint64_t sent)>& progress) {
        std::array<char, 65536> buffer{};
        for (uint64_t done = 0; done < size;) {
            const auto wanted = static_cast<std::size_t>(std::min<uint64_t>(buffer.size(), size - done));
            const ssize_t count = read(descriptor, buffer.data(), wanted);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) {
                const std::string reason = count < 0 ? strerror(errno) : "it has become shorter while it was sent";
                m_socket.reset(); // the host gets no whole file
                throw std::runtime_error("the file cannot be read: " + reason);
            }
            if (!Send({buffer.data(), static_cast<std::size_t>(count)}, DeadlineAfter(m_timeout))) return;
            done += static_cast<uint64_t>(count);
            if (progress) progress(done);
        }
    }

    template <typename SendBody>
    HostAnswer Ask(const HttpRequest& request, const SendBody& sendBody) {
        const Deadline deadline = DeadlineAfter(m_timeout);
        try {
            Connect(deadline);
            if (Send(RequestHeadFor(m_place, request), deadline)) sendBody(deadline);
            return Answer(request, m_timeout ? std::max(deadline, DeadlineAfter(m_timeout)) : deadline);
        } catch (const DeadlinePassed&) {
            m_socket.reset();
            throw TimeUpError("no answer of " + HostText(End()) + " within " + SecondsText(*m_timeout) + "; " +
                              WaitingFor(m_place));
        } catch (const std::system_error& error) {
            Fail(request, "failed (" + error.code().message() + ") at");
        }
    }

    HostAnswer Answer(const HttpRequest& request, const Deadline& deadline) {
        std::string body;
        HttpAnswer answer([&body](std::string_view piece) { body += piece; }, LongestAnswer);
        try {
            while (!answer.IsWhole()) {
                std::string bytes;
                const bool more = m_socket->Receive(bytes, deadline);
                if (!more && !answer.HasBegun()) Fail(request, "went away before it answered");
                if (more) {
                    answer.Take(bytes);
                } else {
                    answer.End();
                }
            }
        } catch (const std::system_error& error) {
            Fail(request, "went away while it answered", m_place.m_elsewhere != nullptr ? error.what() : "");
        } catch (const HalfAnswer&) {
            Fail(request, "went away while it answered");
        } catch (const NoAnswer& error) {
            Fail(request, std::string("sent ") + error.what() + " for");
        }
        if (!answer.KeepsAlive()) m_socket.reset();
        CheckAdmitted(m_place, answer.Status());
        HostAnswer result{answer.Status(), nullptr};
        if (body.empty()) return result;
        result.m_body = JsonOfWire(body);
        if (result.m_body.is_discarded()) Fail(request, "sent what is no JSON for");
        return result;
    }

    HostPlace m_place;
    std::optional<std::chrono::milliseconds> m_timeout;
    pid_t m_process;
    std::string m_account;
    std::optional<HostSocket> m_socket;
};

// The socket of a host that has just got the lock is about to come.
constexpr std::chrono::milliseconds SocketIsComing(1000);
constexpr std::chrono::milliseconds SocketPause(10);

} // namespace

std::unique_ptr<HostClient> HostClient::Connect(std::optional<std::chrono::milliseconds> timeout) {
    return ConnectAt(PlaceOfHost(), timeout);
}

std::unique_ptr<HostClient> HostClient::ConnectAt(const HostPlace& place,
                                                  std::optional<std::chrono::milliseconds> timeout) {
    const Deadline deadline = DeadlineAfter(timeout);
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): it is read at the end of a turn
    const auto lastTry = std::chrono::steady_clock::now() + SocketIsComing;
    for (;;) {
        try {
            return std::make_unique<SocketClient>(place, timeout, HostSocket(place, deadline));
        } catch (const DeadlinePassed&) {
            throw TimeUpError(PlacedHostText({place}) + " takes no connection within " + SecondsText(*timeout));
        } catch (const std::system_error& error) {
            const int reason = error.code().value();
            if (reason == EACCES || reason == EPERM)
                throw std::runtime_error("the resident host at " + place.Socket() +
                                         " may not be asked: only root and members of the group bmhost may");
            if (reason != ENOENT && reason != ECONNREFUSED) throw std::runtime_error(error.what());
        }
        const auto owner = OwnerOf(place);
        if (!owner || !owner->IsResident() || std::chrono::steady_clock::now() >= lastTry) return nullptr;
        std::this_thread::sleep_for(SocketPause);
    }
}

} // namespace bmhost
