// Writes the lines of `run`, without holding up those who have something to tell.
#pragma once

#include "host/news/RunOutput.h"

#include "bm_dev/Thread.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>

namespace bmhost {

/// Writes on its own thread, so that the adaptor's threads never wait for the reader.
class Teller {
public:
    using News = std::function<void(RunOutput&)>;

    /// @param unread  called once when the output throws, since nobody reads any more
    Teller(RunOutput& output, std::function<void()> unread);
    Teller(const Teller&) = delete;
    Teller& operator=(const Teller&) = delete;
    ~Teller();

    /// Any thread.
    void Tell(News news);
    /// Returns after the last news has been written. Throws what the output threw.
    void Finish();

private:
    void End();
    void Run();
    News Next();

    RunOutput& m_output;
    const std::function<void()> m_unread;
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::deque<News> m_news; ///< an empty function is the last
    std::exception_ptr m_error;
    bm_dev::Thread m_thread; // last, since it uses the other members
};

} // namespace bmhost
