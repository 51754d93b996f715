// A resident host that does what a test says, and a blade for it.
#pragma once

#include "host/resident/ResidentHost.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// A blade of one AMC with one DSP and a port, all of whose parts have something to show.
bmhost::Picture SmallBlade();

class FakeHost : public bmhost::ResidentHost {
public:
    enum class Manner {
        Answer, ///< at once, on the asking thread
        Keep,   ///< the test answers, or does not
        Drop,
        Throw
    };

    explicit FakeHost(std::size_t ring = 1000) : m_ring(ring) { Show(SmallBlade()); }

    void Show(bmhost::Picture picture);
    void Be(Manner manner);
    /// What the next orders and calls are answered with; the default is a good outcome.
    void AnswerWith(std::function<bmhost::Answer(const std::string& name, const nlohmann::json& values)> answer);
    void Tell(const std::string& kind, const std::string& data);
    void SetLog(std::vector<nlohmann::ordered_json> lines);

    /// What is kept for the test; waits until there are that many.
    std::vector<bmhost::Answered> Kept(std::size_t count);
    void Forget();
    std::vector<bmhost::Call> Calls() const;
    std::vector<bmhost::Order> Orders() const;
    std::vector<bmhost::Asker> Askers() const;
    bool HasListener() const;

    std::shared_ptr<const bmhost::Picture> Now() const override;
    bmhost::Statistics Counts() const override;
    void Ask(const bmhost::Asker& asker, bmhost::Call call, bmhost::Answered answered) override;
    void Ask(const bmhost::Asker& asker, bmhost::Order order, bmhost::Answered answered) override;
    std::vector<bmhost::News> NewsAfter(uint64_t id) const override;
    void OnNews(std::function<void()> listener) override;
    std::vector<nlohmann::ordered_json> LogLines(std::size_t most) const override;

private:
    void Take(const bmhost::Asker& asker, const std::string& name, const nlohmann::json& values,
              bmhost::Answered answered);

    const std::size_t m_ring;
    mutable std::mutex m_mutex; ///< protects what follows
    std::condition_variable m_kept;
    std::shared_ptr<const bmhost::Picture> m_picture;
    Manner m_manner = Manner::Answer;
    std::function<bmhost::Answer(const std::string&, const nlohmann::json&)> m_answer;
    std::vector<bmhost::Answered> m_answered;
    std::vector<bmhost::Call> m_calls;
    std::vector<bmhost::Order> m_orders;
    std::vector<bmhost::Asker> m_askers;
    std::vector<bmhost::News> m_news;
    uint64_t m_lastNews = 0;
    mutable std::mutex m_listenerMutex; ///< protects the listener, and is held while it is called
    std::function<void()> m_listener;
    std::vector<nlohmann::ordered_json> m_log;
};
