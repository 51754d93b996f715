// What the resident host tells, kept for whoever asks at the web door.
#include "host/web/BladeMirror.h"

#include "host/client/ClientSession.h"
#include "host/client/ServerEvents.h"
#include "host/picture/PictureJson.h"
#include "host/picture/StatisticsJson.h"

#include "bm_dev/ByteText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <utility>

namespace bmhost {

namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::ordered_json;

// The end is looked for so often.
constexpr std::chrono::milliseconds LongestWait(200);
constexpr std::size_t MostHeld = NewsRing::Most / 2;
constexpr unsigned Found = 200;

} // namespace

/// The thread's own: the connections, and news whose picture has not come yet.
class BladeMirror::Follower {
public:
    explicit Follower(BladeMirror& mirror) : m_mirror(mirror), m_events(mirror.m_place, 0) {}

    void Follow() {
        while (!m_mirror.m_ending) {
            try {
                Turn();
            } catch (const std::exception& error) {
                Release();
                m_client.reset();
                m_mirror.Lose(error.what());
                Pause();
            }
        }
    }

private:
    void Turn() {
        if (Clock::now() >= m_due || m_mirror.IsWanted()) FetchPicture();
        if (m_mirror.HasReaders()) m_due = std::min(m_due, m_fetched + m_mirror.m_times.m_silenceForReaders);
        if (Clock::now() >= m_countsDue) FetchCounts();
        const auto due = std::min(m_due, m_countsDue) - Clock::now();
        const auto wait =
            std::clamp(std::chrono::ceil<std::chrono::milliseconds>(due), std::chrono::milliseconds(1), LongestWait);
        const auto event = m_events.Next(wait);
        if (!event) return;
        if (event->m_kind == "picture") m_due = std::min(m_due, m_fetched + m_mirror.m_times.m_betweenPictures);
        m_waitsForPicture = m_waitsForPicture || event->m_kind == "picture";
        m_held.push_back(*event);
        if (!m_waitsForPicture || m_held.size() >= MostHeld) Release();
    }

    void FetchPicture() {
        if (m_client == nullptr) m_client = HostClient::ConnectAt(m_mirror.m_place, m_mirror.m_times.m_answer);
        if (m_client == nullptr)
            throw std::runtime_error("no resident host has the blade: nobody answers at " + m_mirror.m_place.Socket());
        m_fetched = Clock::now();
        m_due = m_fetched + m_mirror.m_times.m_silence;
        const uint64_t wanted = m_mirror.Wanted();
        m_mirror.Take(std::make_shared<const Picture>(PictureOf(GoodBody(m_client->Get("/v1/blade"), "/v1/blade"))),
                      wanted);
        Release();
    }

    // Who reads metrics never waits for the host, so its counts are fetched before anybody asks.
    void FetchCounts() {
        m_countsDue = Clock::now() + m_mirror.m_times.m_betweenCounts;
        const HostAnswer answer = m_client->Get("/v1/statistics");
        // An older host does not count.
        m_mirror.Take(answer.m_status == Found ? std::make_shared<const Statistics>(StatisticsOf(answer.m_body))
                                               : std::shared_ptr<const Statistics>());
    }

    // What has been heard is in the picture that has come since.
    void Release() {
        m_waitsForPicture = false;
        for (HostClient::ServerEvent& event : std::exchange(m_held, {}))
            m_mirror.Tell(event.m_kind, std::move(event.m_data));
    }

    void Pause() {
        m_due = Clock::now();
        m_countsDue = m_due;
        const auto end = Clock::now() + m_mirror.m_times.m_pause;
        while (!m_mirror.m_ending && Clock::now() < end)
            std::this_thread::sleep_for(std::min(m_mirror.m_times.m_pause, std::chrono::milliseconds(50)));
    }

    BladeMirror& m_mirror;
    EventStream m_events;
    std::unique_ptr<HostClient> m_client;
    std::vector<HostClient::ServerEvent> m_held;
    bool m_waitsForPicture = false; ///< one of them tells of a picture
    Clock::time_point m_fetched{};
    Clock::time_point m_due{};       ///< when the next picture is fetched
    Clock::time_point m_countsDue{}; ///< when the counts are fetched again
};

BladeMirror::BladeMirror(HostPlace place, const MirrorTimes& times) : m_place(std::move(place)), m_times(times) {
    m_view.m_since = WallNow();
    m_view.m_reason = "the resident host has not been heard yet";
    m_thread = bm_dev::Thread([this] { Follower(*this).Follow(); });
}

BladeMirror::~BladeMirror() {
    m_ending = true;
    m_thread.Join();
}

BladeView BladeMirror::Now() const {
    const std::lock_guard lock(m_guard);
    return m_view;
}

BladeView BladeMirror::Look() const {
    m_looked = Clock::now();
    return Now();
}

bool BladeMirror::HasReaders() const {
    const Clock::time_point looked = m_looked;
    return looked != Clock::time_point{} && Clock::now() - looked < m_times.m_reader;
}

std::shared_ptr<const Statistics> BladeMirror::Counts() const {
    const std::lock_guard lock(m_guard);
    return m_counts;
}

bool BladeMirror::Renew(std::chrono::milliseconds time) {
    std::unique_lock lock(m_guard);
    const uint64_t own = ++m_wanted;
    return m_renewed.wait_for(lock, time, [&] { return m_granted >= own; });
}

bool BladeMirror::IsWanted() const {
    const std::lock_guard lock(m_guard);
    return m_wanted > m_granted;
}

uint64_t BladeMirror::Wanted() const {
    const std::lock_guard lock(m_guard);
    return m_wanted;
}

void BladeMirror::Tell(const std::string& kind, std::string data) {
    const uint64_t last = Now().m_lastNews; // only this thread changes it
    // The host's ids of what it did not keep are known to nobody here: this event stands for the gap.
    if (kind == "lost") data = ordered_json({{"after", last}, {"first", last + 2}}).dump();
    m_news.Add(kind, std::move(data));
    const std::lock_guard lock(m_guard);
    m_view.m_lastNews = last + 1;
}

void BladeMirror::Take(std::shared_ptr<const Picture> picture, uint64_t wanted) {
    bool cameBack = false;
    {
        const std::lock_guard lock(m_guard);
        m_view.m_picture = std::move(picture);
        cameBack = !m_view.m_reachable;
        if (cameBack) m_view.m_since = WallNow();
        m_view.m_reachable = true;
        m_view.m_reason.clear();
        m_granted = wanted;
        m_renewed.notify_all();
    }
    if (cameBack) Tell("host", ordered_json({{"reachable", true}}).dump());
}

void BladeMirror::Take(std::shared_ptr<const Statistics> counts) {
    const std::lock_guard lock(m_guard);
    m_counts = std::move(counts);
}

void BladeMirror::Lose(const std::string& reason) {
    bool went = false;
    {
        const std::lock_guard lock(m_guard);
        went = m_view.m_reachable;
        if (went) m_view.m_since = WallNow();
        m_view.m_reachable = false;
        m_view.m_reason = reason;
        m_counts.reset();
    }
    if (went) Tell("host", bm_dev::EscapedJson(ordered_json({{"reachable", false}, {"reason", reason}}).dump()));
}

} // namespace bmhost
