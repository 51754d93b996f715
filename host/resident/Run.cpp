// `bmhost run`: a resident host, from init to fin.
#include "host/resident/Run.h"

#include "host/output/Redirect.h"
#include "host/resident/RunOutput.h"
#include "host/resident/Signals.h"
#include "host/session/LogEar.h"
#include "host/session/PluginSession.h"

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace bmhost {

namespace {

// How long to keep the prints of tools that found nothing.
constexpr std::chrono::minutes KeptPrints(1);

/// Writes the news on its own thread, so that the adaptor's threads never wait for the reader.
class Teller {
public:
    using News = std::function<void(RunOutput&)>;

    Teller(RunOutput& output, StopRequest& stop) : m_output(output), m_stop(stop), m_thread([this] { Run(); }) {}
    Teller(const Teller&) = delete;
    Teller& operator=(const Teller&) = delete;
    ~Teller() { End(); }

    void Tell(News news) {
        const std::lock_guard lock(m_guard);
        m_news.push_back(std::move(news));
        m_changed.notify_one();
    }
    /// Returns after the last news has been written. Throws what the output threw.
    void Finish() {
        End();
        if (m_error != nullptr) std::rethrow_exception(m_error);
    }

private:
    void End() {
        if (!m_thread.joinable()) return;
        Tell({});
        m_thread.join();
    }

    void Run() {
        while (const News news = Next()) {
            if (m_error != nullptr) continue;
            try {
                news(m_output);
            } catch (...) { // nobody reads any more: end the host
                m_error = std::current_exception();
                m_stop.Ask();
            }
        }
    }

    News Next() {
        std::unique_lock lock(m_guard);
        m_changed.wait(lock, [this] { return !m_news.empty(); });
        News news = std::move(m_news.front());
        m_news.pop_front();
        return news;
    }

    RunOutput& m_output;
    StopRequest& m_stop;
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::deque<News> m_news; ///< an empty function is the last
    std::exception_ptr m_error;
    std::thread m_thread; // last, since it uses the other members
};

/// Passes the adaptor's events and the lines of the log to the teller as long as it lives.
class NewsSources {
public:
    NewsSources(HostManager& manager, Teller& teller)
        : m_manager(manager),
          m_teller(teller),
          m_ear([this](int level, const std::string& component, const std::string& text) {
              Listen(level, component, text);
          }) {
        m_manager.HandTo([this](AdaptorEvent event) {
            m_teller.Tell([taken = std::move(event)](RunOutput& output) { output.Event(taken); });
        });
    }
    NewsSources(const NewsSources&) = delete;
    NewsSources& operator=(const NewsSources&) = delete;
    ~NewsSources() { m_manager.HandTo({}); }

    bool HadFault() {
        const std::lock_guard lock(m_guard);
        return m_fault;
    }

private:
    void Listen(int level, const std::string& component, const std::string& text) {
        const std::lock_guard lock(m_guard);
        auto change = m_health.Take(level, component, text);
        if (!change) return;
        m_fault = m_fault || change->m_health == HealthState::Fault;
        // The prints include the diagnostic's report.
        std::string prints = change->m_health == HealthState::Fault ? TakeWithheld() : "";
        m_teller.Tell([told = std::move(*change), prints = std::move(prints)](RunOutput& output) {
            output.Health(told);
            ShowTaken(prints);
        });
    }

    HostManager& m_manager;
    Teller& m_teller;
    std::mutex m_guard;
    HealthLog m_health;
    bool m_fault = false;
    LogEar m_ear; // last, since it uses the other members
};

// A failed start is followed by a stop only if it was interrupted: then its tools may have run.
bool Live(StopRequest& stop, const std::function<bool(Operation)>& call) {
    const bool begun = call(Operation::Init);
    bool good = begun;
    if (begun && !stop.Asked()) {
        good = call(Operation::Start);
        while (good && !stop.WaitFor(KeptPrints))
            ForgetWithheld();
        if (stop.Asked()) good = call(Operation::Stop) && good;
    }
    return call(Operation::Fin) && good;
}

} // namespace

bool RunHost(PluginSession& session, RunOutput& output, StopRequest& stop) {
    Teller teller(output, stop);
    bool good = false;
    {
        NewsSources sources(session.Manager(), teller);
        good = Live(stop, [&](Operation operation) {
            const int result = session.Lifecycle(operation);
            fflush(stdout); // the adaptor's prints come first
            // Init prints everything that it has found, and tools that found nothing print their progress.
            const std::string prints = TakeWithheld();
            const bool bShown = result != Success && operation != Operation::Init;
            teller.Tell([=](RunOutput& told) {
                told.Lifecycle(OperationName(operation), result);
                if (bShown) ShowTaken(prints);
            });
            return result == Success;
        });
        good = good && !sources.HadFault();
    }
    teller.Finish();
    return good;
}

} // namespace bmhost
