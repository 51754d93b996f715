// What the resident host tells, kept for whoever asks at the web door: nobody who reads there makes the host wait.
#pragma once

#include "host/client/HostClient.h"
#include "host/news/NewsRing.h"
#include "host/web/BladeView.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bmhost {

struct MirrorTimes {
    std::chrono::milliseconds m_betweenPictures{200}; ///< however often the picture changes
    std::chrono::milliseconds m_silence{10'000};      ///< after so long without a picture the host is asked for one
    std::chrono::milliseconds m_answer{2'000};        ///< the host's, for a picture; the destructor may take as long
    std::chrono::milliseconds m_pause{500};           ///< before a host that is not there is looked for again
};

/// Follows the host on a thread of its own, for as long as it lives. News have ids of their own, which count on when
/// the host restarts; besides the host's kinds there is "host", when the host goes and when it comes back. A reader
/// that has heard of a picture finds it in Now(). Every member on any thread.
class BladeMirror {
public:
    explicit BladeMirror(HostPlace place, const MirrorTimes& times = {});
    ~BladeMirror();
    BladeMirror(const BladeMirror&) = delete;
    BladeMirror& operator=(const BladeMirror&) = delete;

    BladeView Now() const;
    std::vector<News> NewsAfter(uint64_t id) const { return m_news.After(id); }
    /// Called after each piece of news; with null, no longer once this returns.
    void OnNews(std::function<void()> listener) { m_news.OnNews(std::move(listener)); }

private:
    class Follower;

    void Tell(const std::string& kind, std::string data);
    void Take(std::shared_ptr<const Picture> picture);
    void Lose(const std::string& reason);

    const HostPlace m_place;
    const MirrorTimes m_times;
    mutable std::mutex m_guard;
    BladeView m_view;
    NewsRing m_news;
    std::atomic<bool> m_ending{false};
    std::thread m_thread; // last, since it uses the other members
};

} // namespace bmhost
