// What has happened, for readers that come back and want what they missed.
#include "host/news/NewsRing.h"

#include <utility>

namespace bmhost {

void NewsRing::Add(const std::string& kind, std::string data) {
    {
        const std::lock_guard lock(m_guard);
        m_news.push_back({++m_last, kind, std::move(data)});
        if (m_news.size() > Most) m_news.pop_front();
    }
    const std::lock_guard lock(m_listenerGuard);
    if (m_listener) m_listener();
}

std::vector<News> NewsRing::After(uint64_t id) const {
    const std::lock_guard lock(m_guard);
    if (id >= m_last) return {};
    const uint64_t wanted = m_last - id;
    const auto count = static_cast<std::ptrdiff_t>(wanted < m_news.size() ? wanted : m_news.size());
    return {m_news.end() - count, m_news.end()};
}

void NewsRing::OnNews(std::function<void()> listener) {
    const std::lock_guard lock(m_listenerGuard);
    m_listener = std::move(listener);
}

} // namespace bmhost
