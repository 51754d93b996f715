// The resident host: init, start, stop and fin, with who asked for them and what became of them.
#include "host/resident/Resident.h"

#include "host/news/NewsTexts.h"
#include "host/picture/ReadPicture.h"
#include "host/resident/UnderWay.h"
#include "host/service/OwnLog.h"
#include "host/session/CallReasons.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <future>
#include <thread>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr std::chrono::milliseconds EndBeat(100);
// Tools test every DSP of a blade one after the other.
constexpr int ToolsPatience = 30;

} // namespace

/// Notes a step as long as it lives.
class Resident::Stepping {
public:
    Stepping(Resident& host, Operation operation) : m_host(host) {
        Step step;
        step.m_name = OperationName(operation);
        step.m_hurries = operation == Operation::Init;
        step.m_tools = operation == Operation::Start || operation == Operation::Stop;
        Set(step);
    }
    Stepping(const Stepping&) = delete;
    Stepping& operator=(const Stepping&) = delete;
    ~Stepping() {
        const std::lock_guard lock(m_host.m_guard);
        m_host.m_step.reset();
    }

    void Reads() const {
        Step step;
        step.m_name = "reading the blade";
        Set(step);
    }

private:
    void Set(Step step) const {
        step.m_since = WallNow();
        step.m_begun = Lane::Clock::now();
        const std::lock_guard lock(m_host.m_guard);
        m_host.m_step = std::move(step);
    }

    Resident& m_host;
};

void Resident::Begin(bool start) {
    ++m_orders;
    const bool given = m_lifecycle.Give([this, start] {
        try {
            if (Lifecycle(Operation::Init, "") == Success && start && !m_ending) Lifecycle(Operation::Start, "");
        } catch (const std::exception& error) { // kept, for the end
            LogOwn(error.what());
        }
        if (--m_orders == 0) m_controllerLane.Wake();
    });
    if (!given) --m_orders; // it is about to end
}

// Notes who makes it, unless the one who asked has been noted for it.
int Resident::Lifecycle(Operation operation, const std::string& asker) {
    std::unique_ptr<UnderWay> underWay;
    if (asker.empty())
        underWay = std::make_unique<UnderWay>(
            m_picture, m_lifecycle, CallInProgress{std::string(OperationName(operation)), WallNow(), ""}, true);
    if (!asker.empty()) {
        const std::lock_guard lock(m_guard);
        m_restarts.Ordered();
    }
    return operation == Operation::Start && !asker.empty() ? InitAgainAndStart(asker) : MakeLifecycle(operation, asker);
}

// An init that did not return 1 is made again: its cause may be gone.
int Resident::InitAgainAndStart(const std::string& asker) {
    const auto picture = m_picture.Now();
    const auto& init = picture->m_host.m_init;
    if (!init || init->m_result != Success) {
        const int result = MakeLifecycle(Operation::Init, asker);
        if (result != Success) return result;
    }
    return MakeLifecycle(Operation::Start, asker);
}

int Resident::MakeLifecycle(Operation operation, const std::string& asker) {
    CallOutcome outcome{std::string(OperationName(operation)), 0, {}, {}};
    const Stepping step(*this, operation);
    if (operation == Operation::Start) {
        const std::lock_guard lock(m_guard);
        m_fault = false;
    }
    try {
        const CallReasons reasons;
        outcome.m_result = m_adaptor.Lifecycle(operation);
        if (outcome.m_result != Success) outcome.m_reasons = reasons.Texts();
    } catch (...) {
        {
            const std::lock_guard lock(m_guard);
            if (m_thrown == nullptr) m_thrown = std::current_exception();
        }
        m_listeners.m_wantsToEnd();
        throw;
    }
    outcome.m_time = WallNow();
    if (operation == Operation::Start) {
        const std::lock_guard lock(m_guard);
        m_interrupted = m_ending;
        m_startFailed = outcome.m_result != Success;
    }
    Note(outcome, asker);
    m_listeners.m_lifecycle(operation, outcome);
    if (operation == Operation::Init) m_inited = true;
    step.Reads();
    if (operation != Operation::Fin) ReadBlade();
    if (outcome.m_result != Success && (operation == Operation::Init || operation == Operation::Start)) {
        const std::lock_guard lock(m_guard);
        if (m_settings.m_exitOnFault) m_listeners.m_wantsToEnd();
    }
    return outcome.m_result;
}

void Resident::Note(const CallOutcome& outcome, const std::string& asker) {
    const Source source = SourceOfBlade();
    m_picture.Change({"host", "source"}, [&](Picture& picture) {
        if (outcome.m_operation == OperationName(Operation::Init)) {
            picture.m_source = source;
            picture.m_host.m_init = outcome;
        } else if (outcome.m_operation == OperationName(Operation::Start)) {
            picture.m_host.m_start = outcome;
        } else if (outcome.m_operation == OperationName(Operation::Stop)) {
            picture.m_host.m_stop = outcome;
            picture.m_host.m_start.reset();
        }
        return true;
    });
    m_news.Add("call", bm_dev::EscapedJson(ordered_json({{"op", outcome.m_operation},
                                                         {"result", outcome.m_result},
                                                         {"result_name", ResultMeaning(outcome.m_result)},
                                                         {"reasons", TextsOf(outcome.m_reasons)},
                                                         {"asker", asker},
                                                         {"time", Rfc3339(outcome.m_time)}})
                                               .dump()));
}

void Resident::Restart() {
    ++m_orders;
    const bool given = m_lifecycle.Give([this] {
        bool wanted = !m_ending;
        if (wanted) {
            const std::lock_guard lock(m_guard);
            wanted = m_fault; // nobody has started it in the meantime
        }
        if (wanted) {
            LogOwn("restart after a fault: stop and start");
            m_adaptor.Restarted();
            try {
                Lifecycle(Operation::Stop, "");
                Lifecycle(Operation::Start, "");
            } catch (const std::exception& error) { // kept, for the end
                LogOwn(error.what());
            }
        }
        if (--m_orders == 0) m_controllerLane.Wake();
    });
    if (!given) --m_orders;
}

bool Resident::End(const std::function<bool()>& hurried) {
    m_ending = true;
    while (m_upgrades.IsUnderWay() && !hurried())
        std::this_thread::sleep_for(EndBeat);
    const auto asked = Lane::Clock::now();
    const auto ended = std::make_shared<std::promise<bool>>();
    auto result = ended->get_future();
    const auto end = [this, ended] {
        bool good = true;
        try {
            if (HasToStop()) good = Lifecycle(Operation::Stop, "") == Success;
            good = Lifecycle(Operation::Fin, "") == Success && good;
        } catch (...) { // kept, for the caller
            good = false;
        }
        ended->set_value(good);
    };
    bool given = m_lifecycle.Give(end);
    while (result.wait_for(EndBeat) != std::future_status::ready) {
        if (Hangs(asked, hurried())) return false;
        given = given || m_lifecycle.Give(end); // those that wait are about to be refused
    }
    const bool good = result.get();
    const auto init = m_picture.Now()->m_host.m_init;
    const std::lock_guard lock(m_guard);
    if (m_thrown != nullptr) std::rethrow_exception(m_thrown);
    return good && !m_fault && !m_startFailed && init && init->m_result == Success;
}

bool Resident::Hangs(Lane::Clock::time_point asked, bool hurried) {
    const std::lock_guard lock(m_guard);
    if (!m_step) return false;
    const auto patience = m_settings.m_endWait * (m_step->m_tools ? ToolsPatience : 1);
    const bool atOnce = hurried && m_step->m_hurries;
    if (!atOnce && Lane::Clock::now() - std::max(asked, m_step->m_begun) < patience) return false;
    m_hung = "`" + m_step->m_name + "` has not returned since " + Rfc3339(m_step->m_since);
    return true;
}

std::string Resident::Hung() const {
    const std::lock_guard lock(m_guard);
    return m_hung;
}

// A failed start is followed by a stop only if it was interrupted: then its tools may have run.
bool Resident::HasToStop() const {
    const auto picture = m_picture.Now();
    const std::lock_guard lock(m_guard);
    const auto& start = picture->m_host.m_start;
    return start && (start->m_result == Success || m_interrupted);
}

bool Resident::EndLanes(std::chrono::milliseconds time) {
    const auto until = Lane::Clock::now() + time;
    bool ended = true;
    for (Lane* const lane : {&m_lifecycle, &m_controllerLane, &m_portLane, &m_calls}) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Lane::Clock::now());
        ended = lane->End(std::max(left, std::chrono::milliseconds(0))) && ended;
    }
    return ended;
}

} // namespace bmhost
