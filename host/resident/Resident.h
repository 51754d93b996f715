// The resident host: holds the adaptor of a blade, keeps its picture, and makes the calls of those who ask.
#pragma once

#include "host/news/LogRing.h"
#include "host/news/NewsRing.h"
#include "host/news/RunHealth.h"
#include "host/resident/CallStatistics.h"
#include "host/resident/ControllerWatch.h"
#include "host/resident/FaultRestarts.h"
#include "host/resident/HostSession.h"
#include "host/resident/Lane.h"
#include "host/resident/LedSweep.h"
#include "host/resident/PictureKeeper.h"
#include "host/resident/ResidentHost.h"
#include "host/resident/UpgradeBook.h"
#include "host/session/AdaptorEvent.h"
#include "host/session/LogEar.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace bmhost {

/// What a reload of the configuration may change.
struct ResidentSettings {
    std::chrono::milliseconds m_sweep{30'000}; ///< in which every LED is read once
    bool m_exitOnFault = false;
    bool m_restartOnFault = false;
    std::chrono::milliseconds m_endWait{10'000}; ///< how long the end waits for a call that does not return
};

/// Who is told of what happens, on the thread on which it happens. None of them may log or wait.
struct ResidentListeners {
    std::function<void(Operation operation, const CallOutcome& outcome)> m_lifecycle;
    std::function<void(const AdaptorEvent& event)> m_event;
    std::function<void(const HealthChange& change)> m_health;
    std::function<void()> m_wantsToEnd; ///< for --exit-on-fault, and when the adaptor has thrown
    /// An order was carried out. Null: nobody wants to know.
    std::function<void(const Order& order, const OrderOutcome& outcome, const std::string& asker)> m_order = {};
    /// A firmware upgrade has ended. Null: nobody wants to know.
    std::function<void(const UpgradeFacts& upgrade)> m_upgradeEnded = {};
};

/// Carries an order out: bmhost::CarryOut, but for tests.
using OrderCarrier = std::function<OrderOutcome(const Order& order, Session& session, const Picture& picture)>;

class Resident final : public ResidentHost {
public:
    /// @param adaptor  for calls from any thread; it outlives this
    /// @param log  what was logged; it outlives this
    /// @param state  the folder of the history of upgrades
    Resident(Session& adaptor, const LogRing& log, HostFacts facts, const std::string& state, ResidentSettings settings,
             ResidentListeners listeners, OrderCarrier carrier);
    ~Resident() override;

    std::shared_ptr<const Picture> Now() const override { return m_picture.Now(); }
    Statistics Counts() const override { return m_adaptor.Now(); }
    void Ask(const Asker& asker, Call call, Answered answered) override;
    void Ask(const Asker& asker, Order order, Answered answered) override;
    std::vector<News> NewsAfter(uint64_t id) const override { return m_news.After(id); }
    void OnNews(std::function<void()> listener) override { m_news.OnNews(std::move(listener)); }
    std::vector<nlohmann::ordered_json> LogLines(std::size_t most) const override { return m_log.Last(most); }

    /// Init, and start when `start` is true and init returned 1; returns at once.
    void Begin(bool start);
    /// An event of the adaptor, on any thread.
    void Take(const AdaptorEvent& event);
    /// To be called every second, or more often, on one thread.
    void Tick();
    /// Before an image is taken from a client: throws as UpgradeBook::Claim does.
    void ClaimUpgrades() { m_upgrades.Claim(); }
    std::string ImageFolder() const { return m_upgrades.ImageFolder(); }
    /// Any thread.
    void Set(const ResidentSettings& settings);

    /// Waits for an upgrade that is under way until `hurried` says yes; then stop where the blade was started, and fin.
    /// True when the last calls of each kind returned 1 and no fault stands. Rethrows what the adaptor has thrown.
    /// Of its calls it waits for each as long as the settings say, thirty times as long for start and stop, whose tools
    /// take their time; for an init not at all when `hurried` says yes. Then it returns false, see Hung.
    bool End(const std::function<bool()>& hurried);
    /// What End has not waited for any longer: "`init` has not returned since 2026-11-22T09:30:00.125Z"; empty:
    /// nothing.
    std::string Hung() const;
    /// False when a call has still not returned: then the adaptor must not be destroyed.
    bool EndLanes(std::chrono::milliseconds time);

private:
    struct Asked;
    /// What the lifecycle's lane is doing in the adaptor.
    struct Step {
        std::string m_name;
        WallTime m_since{};
        Lane::Clock::time_point m_begun{};
        bool m_hurries = false; ///< it need not come to its end
        bool m_tools = false;   ///< it runs the board's tools
    };
    class Stepping;

    Lane& LaneOf(const Call& call);
    Lane& LaneOf(const Order& order);
    void Give(Lane& lane, const std::shared_ptr<Asked>& asked, std::function<Answer(HostSession&)> work);
    HostSession SessionFor(const Asked& asked);
    Answer Worked(const Asked& asked, const std::function<Answer(HostSession&)>& work, bool other);

    int Lifecycle(Operation operation, const std::string& asker);
    int InitAgainAndStart(const std::string& asker);
    int MakeLifecycle(Operation operation, const std::string& asker);
    void Note(const CallOutcome& outcome, const std::string& asker);
    void ReadBlade();
    void Restart();
    bool HasToStop() const;
    bool Hangs(Lane::Clock::time_point asked, bool hurried);

    Lane::Clock::time_point SweepOn();
    Lane::Clock::time_point ReadPortsOn();
    void ReadNextLed(LedPlace place);
    void Put(LedReading reading);
    void Judge();

    void Hear(int level, const std::string& component, const std::string& text);
    void Changed(const HealthChange& change);
    std::string Refusal() const;

    CallStatistics m_adaptor;
    const ResidentListeners m_listeners;
    const OrderCarrier m_carrier;

    const LogRing& m_log;
    NewsRing m_news;
    PictureKeeper m_picture;
    UpgradeBook m_upgrades;

    std::atomic<bool> m_inited{false}; ///< the first init has returned
    std::atomic<bool> m_ending{false};
    std::atomic<int> m_orders{0}; ///< asked for, and not yet returned: no sweep meanwhile

    mutable std::mutex m_guard; ///< protects what follows
    ResidentSettings m_settings;
    LedSweep m_sweep;
    ControllerWatch m_controller;
    FaultRestarts m_restarts;
    bool m_fault = false;       ///< since the last start
    bool m_gaveUp = false;      ///< no more restarts, which is still to be told
    bool m_startFailed = false; ///< the last one
    bool m_interrupted = false; ///< the last start returned when the end had been asked for
    std::exception_ptr m_thrown;
    std::optional<Step> m_step;
    std::string m_hung; ///< what the end has given up
    Lane::Clock::time_point m_portsDue = Lane::Clock::time_point::max();

    std::vector<LedReading> m_unchanged; ///< not in the picture yet; used in the controller's lane
    Lane::Clock::time_point m_putLast{};

    Lane::Clock::time_point m_faultsSought{}; ///< used in Tick

    std::mutex m_healthGuard;
    HealthLog m_health;

    Lane m_calls;    ///< what neither asks the controller nor changes the adaptor's life
    Lane m_portLane; ///< reads the switch's links
    Lane m_controllerLane;
    Lane m_lifecycle;
    LogEar m_ear; // last, since it uses the other members
};

} // namespace bmhost
