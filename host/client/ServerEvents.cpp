// Server-Sent Events from the resident host: read with deadlines, and taken up again where the stream breaks.
#include "host/client/ServerEvents.h"

#include "host/client/HostOwner.h"
#include "host/connect/Elsewhere.h"
#include "host/words/Value.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>

namespace bmhost {

namespace {

using Clock = std::chrono::steady_clock;

// The host sends a comment every 15 seconds.
constexpr std::chrono::seconds LongestSilence(45);
constexpr std::chrono::milliseconds FirstPause(20);
constexpr std::chrono::milliseconds LongestPause(1000);

Deadline Earlier(const Deadline& one, Clock::time_point other) {
    return one ? std::min(*one, other) : other;
}

bool HasPassed(const Deadline& deadline) {
    return deadline && Clock::now() >= *deadline;
}

} // namespace

void EventLines::Take(std::string_view bytes) {
    for (const char next : bytes) {
        const bool restOfEnd = m_skipNewline && next == '\n';
        m_skipNewline = next == '\r';
        if (restOfEnd) continue;
        if (next != '\n' && next != '\r') {
            if (m_waiting.size() + m_begun.m_data.size() >= LongestAnswer)
                throw std::runtime_error("an event that is too long");
            m_waiting += next;
            continue;
        }
        Line(m_waiting);
        m_waiting.clear();
    }
}

void EventLines::Line(std::string_view line) {
    if (line.empty()) { // the end of an event, or of a comment
        if (m_hasData) m_events.push_back(m_begun);
        m_begun = {m_begun.m_id, "", ""};
        m_hasData = false;
        return;
    }
    const std::size_t colon = std::min(line.find(':'), line.size());
    const std::string_view field = line.substr(0, colon);
    std::string_view value = line.substr(std::min(colon + 1, line.size()));
    if (value.starts_with(' ')) value.remove_prefix(1);
    if (field == "id") {
        const auto id = ParseNumber(value);
        if (!id || *id < 0) throw std::runtime_error("an event's id that is no number");
        m_begun.m_id = static_cast<uint64_t>(*id);
    } else if (field == "event") {
        m_begun.m_kind = value;
    } else if (field == "data") {
        m_begun.m_data += (m_hasData ? "\n" : "") + std::string(value);
        m_hasData = true;
    }
}

std::optional<HostClient::ServerEvent> EventLines::Next() {
    if (m_events.empty()) return std::nullopt;
    HostClient::ServerEvent event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

EventStream::Connection::Connection(const HostPlace& place, const Deadline& deadline)
    : m_socket(place, deadline),
      m_answer(
          [this](std::string_view piece) {
              constexpr unsigned good = 200;
              if (m_answer.Status() == good) {
                  m_lines.Take(piece);
              } else if (m_refusal.size() < LongestAnswer) {
                  m_refusal += piece;
              }
          },
          std::nullopt) {}

std::string EventStream::Host() const {
    return PlacedHostText({m_place, m_process});
}

void EventStream::Open(const Deadline& deadline) {
    try {
        m_connection = std::make_unique<Connection>(m_place, deadline);
    } catch (const Unreachable& error) {
        throw HostGoneError(error.what());
    } catch (const std::system_error& error) {
        const int reason = error.code().value();
        if (reason == ENOENT || reason == ECONNREFUSED) throw HostGoneError(Host() + " has gone");
        throw;
    }
    const pid_t process = m_connection->m_socket.Process();
    if (m_process != 0 && process != m_process) m_last = 0; // another host counts from 1 again
    m_process = process;
    HttpRequest request{"GET", "/v1/events", "", 0, m_last};
    const std::string head = RequestHeadFor(m_place, request);
    for (std::string_view rest = head; !rest.empty();) {
        const std::size_t sent = m_connection->m_socket.Send(rest, deadline);
        if (sent == 0) return; // what it says instead is read next
        rest.remove_prefix(sent);
    }
    m_heard = Clock::now();
}

// False when the stream has broken.
bool EventStream::Read(const Deadline& deadline) {
    std::string bytes;
    try {
        if (!m_connection->m_socket.Receive(bytes, Earlier(deadline, m_heard + LongestSilence), m_output)) return false;
    } catch (const DeadlinePassed&) {
        return Clock::now() < m_heard + LongestSilence;
    } catch (const NobodyReads&) {
        throw;
    } catch (const std::system_error&) {
        return false;
    }
    m_heard = Clock::now();
    HttpAnswer& answer = m_connection->m_answer;
    try {
        answer.Take(bytes);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(Host() + " sent " + error.what() + " for `GET /v1/events`");
    }
    constexpr unsigned good = 200;
    if (answer.HasHead() && answer.Status() != good && answer.IsWhole()) {
        CheckAdmitted(m_place, answer.Status());
        const auto body = nlohmann::json::parse(m_connection->m_refusal, nullptr, false);
        const bool known = body.is_object() && body.contains("error") && body["error"].is_object();
        throw std::runtime_error(Host() + " refused `GET /v1/events`: " +
                                 (known ? body["error"].value("reason", "") : std::to_string(answer.Status())));
    }
    return !answer.IsWhole();
}

// A host that closes each stream at once is not asked without a pause.
void EventStream::Break(const Deadline& deadline) {
    m_connection.reset();
    const auto pause = std::min(LongestPause, FirstPause * (1U << std::min(m_breaks++, 10U)));
    const auto end = Clock::now() + pause;
    std::this_thread::sleep_until(deadline ? std::min(*deadline, end) : end);
}

std::optional<HostClient::ServerEvent> EventStream::Next(std::chrono::milliseconds wait) {
    const Deadline deadline = DeadlineAfter(wait);
    for (;;) {
        if (m_connection != nullptr) {
            if (auto event = m_connection->m_lines.Next()) {
                m_last = event->m_id;
                event->m_process = m_process;
                m_breaks = 0;
                return event;
            }
        }
        if (HasPassed(deadline) && m_connection != nullptr && !m_connection->m_socket.HasNews()) return std::nullopt;
        try {
            if (m_connection == nullptr) Open(deadline);
        } catch (const DeadlinePassed&) {
            m_connection.reset();
            return std::nullopt;
        }
        if (Read(deadline)) continue;
        // What has come before the end counts.
        auto event = m_connection->m_lines.Next();
        Break(deadline);
        if (!event) {
            if (HasPassed(deadline)) return std::nullopt;
            continue;
        }
        m_last = event->m_id;
        event->m_process = m_process;
        return event;
    }
}

} // namespace bmhost
