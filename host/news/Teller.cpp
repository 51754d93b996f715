// Writes the lines of `run`, without holding up those who have something to tell.
#include "host/news/Teller.h"

#include <utility>

namespace bmhost {

Teller::Teller(RunOutput& output, std::function<void()> unread)
    : m_output(output),
      m_unread(std::move(unread)),
      m_thread([this] { Run(); }) {}

Teller::~Teller() {
    End();
}

void Teller::Tell(News news) {
    const std::lock_guard lock(m_guard);
    m_news.push_back(std::move(news));
    m_changed.notify_one();
}

void Teller::Finish() {
    End();
    if (m_error != nullptr) std::rethrow_exception(m_error);
}

void Teller::End() {
    if (!m_thread.IsJoinable()) return;
    Tell({});
    m_thread.Join();
}

void Teller::Run() {
    while (const News news = Next()) {
        if (m_error != nullptr) continue;
        try {
            news(m_output);
        } catch (...) {
            m_error = std::current_exception();
            m_unread();
        }
    }
}

Teller::News Teller::Next() {
    std::unique_lock lock(m_guard);
    m_changed.wait(lock, [this] { return !m_news.empty(); });
    News news = std::move(m_news.front());
    m_news.pop_front();
    return news;
}

} // namespace bmhost
