// What the resident host tells, kept for whoever asks at the web door: nobody who reads there makes the host wait.
#pragma once

#include "host/client/HostClient.h"
#include "host/news/NewsRing.h"
#include "host/picture/Statistics.h"
#include "host/web/BladeView.h"

#include "bm_dev/Thread.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace bmhost {

struct MirrorTimes {
    std::chrono::milliseconds m_betweenPictures{200}; ///< however often the picture changes
    std::chrono::milliseconds m_silence{10'000};      ///< after so long without a picture the host is asked for one
    std::chrono::milliseconds m_answer{2'000};        ///< the host's, for a picture; the destructor may take as long
    std::chrono::milliseconds m_pause{500};           ///< before a host that is not there is looked for again
    std::chrono::milliseconds m_betweenCounts{1'000}; ///< what the host counts has no news
    /// A reading that changes nothing is no news either: while somebody looks, its age is at most so much too high.
    std::chrono::milliseconds m_silenceForReaders{1'000};
    std::chrono::milliseconds m_reader{30'000}; ///< who has looked is expected to look again for so long
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
    /// The same, for somebody who reads the ages in it, now and perhaps again.
    BladeView Look() const;
    /// What the host has counted, as it was a moment ago; null unless it answers, and for one that does not count.
    std::shared_ptr<const Statistics> Counts() const;
    /// Waits for a picture that is younger than this call; false if none has come in this time.
    bool Renew(std::chrono::milliseconds time);
    std::vector<News> NewsAfter(uint64_t id) const { return m_news.After(id); }
    /// Called after each piece of news; with null, no longer once this returns.
    void OnNews(std::function<void()> listener) { m_news.OnNews(std::move(listener)); }

private:
    class Follower;

    void Tell(const std::string& kind, std::string data);
    bool IsWanted() const;
    bool HasReaders() const;
    uint64_t Wanted() const;
    void Take(std::shared_ptr<const Picture> picture, uint64_t wanted);
    void Take(std::shared_ptr<const Statistics> counts);
    void Lose(const std::string& reason);

    const HostPlace m_place;
    const MirrorTimes m_times;
    mutable std::mutex m_guard;
    std::condition_variable m_renewed;
    uint64_t m_wanted = 0;  ///< how often somebody has asked for a new picture
    uint64_t m_granted = 0; ///< how many of these have got it
    BladeView m_view;
    std::shared_ptr<const Statistics> m_counts;
    NewsRing m_news;
    mutable std::atomic<std::chrono::steady_clock::time_point> m_looked{}; ///< by the last reader
    std::atomic<bool> m_ending{false};
    bm_dev::Thread m_thread; // last, since it uses the other members
};

} // namespace bmhost
