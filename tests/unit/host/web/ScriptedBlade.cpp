// A resident host whose picture, events and answers a test says, at a socket of its own.
#include "ScriptedBlade.h"

#include "host/picture/PictureJson.h"
#include "host/picture/StatisticsJson.h"

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

namespace {

constexpr std::chrono::seconds LongestWait(30);

} // namespace

ScriptedBlade::ScriptedBlade() {
    Show(bmhost::Picture());
    m_host = std::make_unique<ScriptedHost>(std::vector<ScriptedHost::Script>{[this](::Peer& peer) { Serve(peer); }});
}

ScriptedBlade::~ScriptedBlade() {
    Die();
}

void ScriptedBlade::Show(bmhost::Picture picture) {
    const std::lock_guard lock(m_guard);
    m_picture = bmhost::PictureJson(picture).dump();
}

void ScriptedBlade::Count(const bmhost::Statistics& counts) {
    const std::lock_guard lock(m_guard);
    m_counts = bmhost::StatisticsJson(counts).dump();
}

void ScriptedBlade::Tell(const std::string& kind, const std::string& data) {
    const std::lock_guard lock(m_guard);
    m_events.push_back("id: " + std::to_string(m_events.size() + 1) + "\nevent: " + kind + "\ndata: " + data + "\n\n");
    m_changed.notify_all();
}

void ScriptedBlade::AnswerWith(std::function<std::string(const std::string& request)> answer) {
    const std::lock_guard lock(m_guard);
    m_answer = std::move(answer);
}

void ScriptedBlade::BeIll(bool ill) {
    const std::lock_guard lock(m_guard);
    m_ill = ill;
}

void ScriptedBlade::Die() {
    {
        const std::lock_guard lock(m_guard);
        m_ending = true;
        m_changed.notify_all();
    }
    if (m_host != nullptr) m_host->Die();
}

std::vector<std::string> ScriptedBlade::Requests(const std::string& beginning) const {
    const std::lock_guard lock(m_guard);
    std::vector<std::string> found;
    std::copy_if(m_requests.begin(), m_requests.end(), std::back_inserter(found),
                 [&](const std::string& request) { return request.starts_with(beginning); });
    return found;
}

bool ScriptedBlade::Awaits(const std::string& beginning, std::size_t count) {
    std::unique_lock lock(m_guard);
    return m_changed.wait_for(lock, LongestWait, [&] {
        return static_cast<std::size_t>(
                   std::count_if(m_requests.begin(), m_requests.end(),
                                 [&](const std::string& request) { return request.starts_with(beginning); })) >= count;
    });
}

void ScriptedBlade::Serve(::Peer& peer) {
    for (;;) {
        const std::string request = peer.Request();
        if (request.empty()) return;
        {
            const std::lock_guard lock(m_guard);
            m_requests.push_back(request);
            m_changed.notify_all();
        }
        if (request.starts_with("GET /v1/events ")) return ServeEvents(peer);
        peer.Send(AnswerTo(request));
    }
}

std::string ScriptedBlade::AnswerTo(const std::string& request) {
    std::function<std::string(const std::string&)> answer;
    {
        const std::lock_guard lock(m_guard);
        if (request.starts_with("GET /v1/blade ")) {
            if (!m_ill) return JsonAnswer(200, m_picture);
            return JsonAnswer(503, R"({"error":{"operation":"","value":"","reason":"ill"}})");
        }
        if (request.starts_with("GET /v1/statistics ")) {
            if (!m_counts.empty()) return JsonAnswer(200, m_counts);
            return JsonAnswer(404, R"({"error":{"operation":"","value":"","reason":"unknown"}})");
        }
        answer = m_answer;
    }
    return answer ? answer(request) : JsonAnswer(404, R"({"error":{"operation":"","value":"","reason":"unknown"}})");
}

void ScriptedBlade::ServeEvents(::Peer& peer) {
    peer.Send("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");
    for (std::size_t sent = 0;;) {
        std::string text;
        {
            std::unique_lock lock(m_guard);
            m_changed.wait(lock, [&] { return m_ending || sent < m_events.size(); });
            if (m_ending) return;
            for (; sent < m_events.size(); ++sent)
                text += m_events[sent];
        }
        peer.Send(text);
    }
}
