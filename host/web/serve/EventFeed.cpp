// Events of Redfish for those who read the stream of them.
#include "host/web/serve/EventFeed.h"

#include "host/web/redfish/writes/Events.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace bmhost {

namespace {

/// A reader that has gone is noticed by this.
constexpr std::chrono::seconds BetweenComments(15);

} // namespace

/// One reader's way through the events. It holds one of them at most, however slow the reader is.
class EventFeed::Reading final : public Stream {
public:
    Reading(EventFeed& feed, std::list<Subscription>::iterator subscription, uint64_t after)
        : m_feed(feed),
          m_subscription(subscription),
          m_last(after),
          m_piece(std::make_shared<const std::string>(StreamedComment)), // it is connected: the reader sees it at once
          m_nextComment(std::chrono::steady_clock::now() + BetweenComments) {}
    ~Reading() override {
        const std::lock_guard lock(m_feed.m_guard);
        m_feed.m_subscriptions.erase(m_subscription);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    std::size_t Next(char* to, std::size_t most) override {
        if (m_piece == nullptr && !IsClosed()) Fill();
        if (m_piece == nullptr) return 0;
        const std::size_t size = std::min(most, m_piece->size() - m_done);
        m_piece->copy(to, size, m_done);
        m_done += size;
        if (m_done == m_piece->size()) {
            m_piece.reset();
            m_done = 0;
        }
        return size;
    }
    bool HasEnded() const override { return m_piece == nullptr && IsClosed(); }
    void End() override { m_hasEnded = true; }
    std::chrono::steady_clock::time_point NextComment() const override { return m_nextComment; }

private:
    bool IsClosed() const { return m_hasEnded || m_subscription->m_isClosed; }

    void Fill() {
        m_feed.Update();
        const auto now = std::chrono::steady_clock::now();
        if (const Told* const told = m_feed.Next(m_last)) {
            m_piece = told->m_text;
            m_last = told->m_id;
        } else if (m_last < m_feed.LastId()) {
            m_hasEnded = true; // too far behind: the client finds out by reading everything again
        } else if (now >= m_nextComment) {
            m_piece = std::make_shared<const std::string>(StreamedComment);
        }
        if (m_piece != nullptr) m_nextComment = now + BetweenComments;
    }

    EventFeed& m_feed;
    const std::list<Subscription>::iterator m_subscription;
    uint64_t m_last;
    std::shared_ptr<const std::string> m_piece;
    std::size_t m_done = 0;
    std::chrono::steady_clock::time_point m_nextComment;
    bool m_hasEnded = false;
};

EventFeed::EventFeed(const BladeMirror& mirror) : m_mirror(mirror) {}

void EventFeed::Update() {
    const BladeView view = m_mirror.Now();
    if (view.m_lastNews != m_seen) {
        for (const News& news : m_mirror.NewsAfter(m_seen)) {
            Tell(RecordsOfNews(news));
            m_seen = news.m_id;
        }
    }
    if (view.m_picture == nullptr || view.m_picture == m_picture) return;
    if (m_picture != nullptr) Tell(RecordsOfChange(*m_picture, *view.m_picture));
    m_picture = view.m_picture;
}

void EventFeed::Tell(const std::vector<nlohmann::ordered_json>& records) {
    if (records.empty()) return;
    const uint64_t id = ++m_lastId;
    m_told.push_back({id, std::make_shared<const std::string>(StreamedEvent(id, EventOf(id, records, WallNow())))});
    if (m_told.size() > Most) m_told.pop_front();
}

const EventFeed::Told* EventFeed::Next(uint64_t after) const {
    if (m_told.empty() || after >= m_lastId || after + 1 < m_told.front().m_id) return nullptr;
    return &m_told[after + 1 - m_told.front().m_id];
}

std::unique_ptr<Stream> EventFeed::Open(EventReader reader, std::optional<uint64_t> after) {
    Update();
    const std::lock_guard lock(m_guard);
    const std::string id = std::to_string(++m_lastSubscription);
    m_subscriptions.push_back({{id, std::move(reader.m_account), std::move(reader.m_address)}, reader.m_session});
    return std::make_unique<Reading>(*this, std::prev(m_subscriptions.end()),
                                     std::min(after.value_or(m_lastId), m_lastId));
}

bool EventFeed::Close(const std::string& id) {
    const std::lock_guard lock(m_guard);
    const auto found = std::find_if(m_subscriptions.begin(), m_subscriptions.end(),
                                    [&](const Subscription& each) { return each.m_facts.m_id == id; });
    if (found == m_subscriptions.end()) return false;
    found->m_isClosed = true;
    return true;
}

void EventFeed::CloseAllOf(uint64_t session) {
    const std::lock_guard lock(m_guard);
    for (Subscription& each : m_subscriptions)
        each.m_isClosed = each.m_isClosed || each.m_session == session;
}

std::vector<SubscriptionFacts> EventFeed::List() const {
    const std::lock_guard lock(m_guard);
    std::vector<SubscriptionFacts> open;
    for (const Subscription& each : m_subscriptions) {
        if (!each.m_isClosed) open.push_back(each.m_facts);
    }
    return open;
}

} // namespace bmhost
