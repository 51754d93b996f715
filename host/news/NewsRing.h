// What has happened, for readers that come back and want what they missed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace bmhost {

/// Something that happened, as readers of events get it.
struct News {
    uint64_t m_id = 0;  ///< counts from 1
    std::string m_kind; ///< "event", "health", "call", "picture", "log"
    std::string m_data; ///< one line of JSON
};

/// Every member on any thread, except in the listener.
class NewsRing {
public:
    /// How many are kept.
    static constexpr std::size_t Most = 1000;

    void Add(const std::string& kind, std::string data);
    /// Those after this id that are still kept, oldest first.
    std::vector<News> After(uint64_t id) const;
    /// Called after each addition; with null, no longer once this returns.
    void OnNews(std::function<void()> listener);

private:
    mutable std::mutex m_guard;
    std::deque<News> m_news;
    uint64_t m_last = 0;
    std::mutex m_listenerGuard;
    std::function<void()> m_listener;
};

} // namespace bmhost
