// The resident host: lanes for calls and orders, each with its place in the picture.
#include "host/resident/Resident.h"

#include "common/veldo_common_protocol.h"
#include "host/output/JsonOutput.h"
#include "host/output/TextOutput.h"
#include "host/picture/ReadPicture.h"
#include "host/picture/Verdict.h"
#include "host/resident/OwnLog.h"
#include "host/resident/RunOutput.h"
#include "host/session/CallReasons.h"
#include "host/session/Rows.h"
#include "host/words/Error.h"
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

constexpr unsigned CallThreads = 3;
constexpr std::size_t MostWaiting = 64;
constexpr std::size_t MostLifecycles = 8;
constexpr std::chrono::milliseconds Beat(100);

bool IsOfController(unsigned group) {
    return group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL || group == BMI_GROUP_HARDWARE_AMC_LED_INTERNAL ||
           group == BMI_GROUP_BM_IPMI_BASEBOARD_LED || group == BMI_GROUP_HARDWARE_AMC_LED_TABLE;
}

bool ChangesBlade(Operation operation) {
    return operation == Operation::Write || operation == Operation::Start || operation == Operation::Stop;
}

std::string NameOf(const Call& call) {
    std::string name(OperationName(call.m_operation));
    return NeedsLife(call.m_operation) ? name + " " + Hex(call.m_group) : name;
}

std::string NameOf(const Order& order) {
    std::string name = order.m_name;
    if (order.m_values.is_object() && !order.m_values.empty())
        name += " " + order.m_values.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return name;
}

Answer Refused(unsigned status, const std::string& operation, const std::string& reason) {
    return {status, {{"error", {{"operation", operation}, {"value", ""}, {"reason", bm_dev::Utf8OfBytes(reason)}}}}};
}

ordered_json Texts(const std::vector<std::string>& texts) {
    ordered_json list = ordered_json::array();
    for (const std::string& text : texts)
        list.push_back(bm_dev::Utf8OfBytes(text));
    return list;
}

bool SameRow(const CBMIParams& one, const CBMIParams& other) {
    if (one.GetSize() != other.GetSize()) return false;
    for (int i = 0; i < one.GetSize(); ++i) {
        const CBMIParam& left = *one.Get(i);
        const CBMIParam& right = *other.Get(i);
        if (left.GetId() != right.GetId() || ValueText(left) != ValueText(right)) return false;
    }
    return true;
}

bool SamePorts(const std::vector<PortFacts>& one, const std::vector<PortFacts>& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](const auto& left, const auto& right) {
        return left.m_port == right.m_port && left.m_enabled == right.m_enabled && left.m_linkUp == right.m_linkUp &&
               left.m_name == right.m_name && left.m_note == right.m_note;
    });
}

} // namespace

std::string Asker::Text() const {
    const std::string who = "uid " + std::to_string(m_user) + ", process " + std::to_string(m_process);
    return m_account.empty() ? who : m_account + " (" + who + ")";
}

/// What somebody has asked for.
struct Resident::Asked {
    std::string m_name;
    std::string m_asker;
    Answered m_answered;
    UpgradeBook::Image m_image{};
    bool m_order = false; ///< changes the blade
};

/// A call's place in the picture.
class Resident::UnderWay {
public:
    UnderWay(PictureKeeper& picture, const std::string& name, const std::string& asker, bool told)
        : m_picture(picture),
          m_told(told),
          m_call(picture.Called({name, WallNow(), asker}, told)) {}
    UnderWay(const UnderWay&) = delete;
    UnderWay& operator=(const UnderWay&) = delete;
    ~UnderWay() { m_picture.Returned(m_call, m_told); }

private:
    PictureKeeper& m_picture;
    bool m_told;
    uint64_t m_call;
};

Resident::Resident(Session& adaptor, HostFacts facts, const std::string& state, ResidentSettings settings,
                   ResidentListeners listeners, OrderCarrier carrier)
    : m_adaptor(adaptor),
      m_listeners(std::move(listeners)),
      m_carrier(std::move(carrier)),
      m_picture(m_news),
      m_upgrades(m_picture, state),
      m_settings(settings),
      m_sweep(settings.m_sweep),
      m_calls(CallThreads, MostWaiting),
      m_portLane(1, 0, [this] { return ReadPortsOn(); }),
      m_controllerLane(1, MostWaiting, [this] { return SweepOn(); }),
      m_lifecycle(1, MostLifecycles),
      m_ear(
          [this](int level, const std::string& component, const std::string& text) { Hear(level, component, text); }) {
    m_picture.Change({"host"}, [&](Picture& picture) {
        picture.m_host = std::move(facts);
        picture.m_host.m_resident = true;
        return true;
    });
}

// A lane's work may use the others: all of it has to come back before the first lane goes.
Resident::~Resident() {
    m_ending = true;
    while (!EndLanes(std::chrono::hours(1))) {
    }
}

Lane& Resident::LaneOf(const Call& call) {
    if (call.m_operation == Operation::Start || call.m_operation == Operation::Stop) return m_lifecycle;
    return IsOfController(call.m_group) ? m_controllerLane : m_calls;
}

Lane& Resident::LaneOf(const Order& order) {
    if (order.m_name == "start" || order.m_name == "stop") return m_lifecycle;
    return order.m_name == "led-set" ? m_controllerLane : m_calls;
}

HostSession Resident::SessionFor(const Asked& asked) {
    return {m_adaptor, [this, asker = asked.m_asker](Operation operation) { return Lifecycle(operation, asker); },
            m_upgrades, asked.m_image, asked.m_asker};
}

// Why nothing can be asked of the adaptor now; empty when it can.
std::string Resident::Refusal() const {
    if (m_ending) return "the host is about to end";
    if (m_inited) return "";
    const auto picture = m_picture.Now();
    for (const CallInProgress& call : picture->m_calls) {
        if (call.m_operation == OperationName(Operation::Init))
            return "the adaptor has not returned from init, since " + Rfc3339(call.m_since);
    }
    return "the adaptor's init has not been called yet";
}

void Resident::Give(Lane& lane, std::shared_ptr<Asked> asked, std::function<Answer(HostSession&)> work) {
    const bool lives = &lane == &m_lifecycle;
    const bool other = &lane == &m_calls;
    // A start waits for its turn after an init.
    if (const std::string refusal = Refusal(); !refusal.empty() && (m_ending || !lives))
        return asked->m_answered(Refused(503, asked->m_name, refusal));
    if (asked->m_order) ++m_orders;
    const bool given = lane.Give([this, asked, work = std::move(work), other] {
        Answer answer = Refused(503, asked->m_name, "the host is about to end");
        if (!m_ending) {
            const UnderWay underWay(m_picture, asked->m_name, asked->m_asker, asked->m_order);
            try {
                HostSession session = SessionFor(*asked);
                answer = work(session);
            } catch (const UsageError& error) {
                answer = Refused(400, asked->m_name, error.what());
            } catch (const std::exception& error) {
                answer = Refused(500, asked->m_name, error.what());
            }
            if (asked->m_order && other) ReadBlade();
        }
        if (asked->m_order && --m_orders == 0) m_controllerLane.Wake();
        asked->m_answered(std::move(answer));
    });
    if (given) return;
    if (asked->m_order) --m_orders;
    asked->m_answered(Refused(503, asked->m_name, "too many calls wait already"));
}

void Resident::Ask(const Asker& asker, Call call, Answered answered) {
    auto asked = std::make_shared<Asked>();
    asked->m_name = NameOf(call);
    asked->m_asker = asker.Text();
    asked->m_answered = std::move(answered);
    asked->m_order = ChangesBlade(call.m_operation);
    switch (call.m_operation) {
    case Operation::Init:
    case Operation::Fin:
        return asked->m_answered(Refused(409, asked->m_name, "the resident host makes this call itself"));
    case Operation::Sleep:
    case Operation::WaitEvent:
        return asked->m_answered(Refused(400, asked->m_name, "it is no call of the adaptor"));
    default:
        break;
    }
    if (asked->m_order) LogOwn(asked->m_name + ", asked by " + asked->m_asker);
    const bool controller = IsOfController(call.m_group) && NeedsLife(call.m_operation);
    Give(LaneOf(call), std::move(asked), [this, call, controller](HostSession& session) mutable {
        Answer answer;
        const auto output = MakeJsonOutput([&answer](ordered_json line) { answer.m_body = std::move(line); });
        if (!controller) {
            MakeCall(session, call, *output);
            return answer;
        }
        uint64_t number = 0;
        {
            const std::lock_guard lock(m_guard);
            number = m_controller.Called(ControllerWatch::Moment::Now());
        }
        const bool good = MakeCall(session, call, *output);
        {
            // A result that is no success tells nothing here: it may be the answer to what makes no sense.
            const std::lock_guard lock(m_guard);
            m_controller.Returned(number, good, good, ControllerWatch::Moment::Now());
            if (call.m_operation == Operation::Write) m_sweep.Hurry(LedSweep::Clock::now());
        }
        Judge();
        return answer;
    });
}

void Resident::Ask(const Asker& asker, Order order, Answered answered) {
    auto asked = std::make_shared<Asked>();
    asked->m_name = NameOf(order);
    asked->m_asker = asker.Text();
    asked->m_answered = std::move(answered);
    asked->m_order = true;
    if (order.m_name == "firmware-update" && order.m_values.is_object()) {
        const auto text = [&order](const char* key) {
            const auto value = order.m_values.find(key);
            return value != order.m_values.end() && value->is_string() ? value->get<std::string>() : std::string();
        };
        asked->m_image = {text("path"), text("name"), text("sha256")};
    }
    LogOwn("order " + asked->m_name + ", asked by " + asked->m_asker);
    Lane& lane = LaneOf(order);
    const std::string name = asked->m_asker;
    Give(lane, std::move(asked), [this, order = std::move(order), name](HostSession& session) {
        const OrderOutcome outcome = m_carrier(order, session, *m_picture.Now());
        LogOwn("order " + order.m_name + ": result " + std::to_string(outcome.m_result));
        if (m_listeners.m_order) m_listeners.m_order(order, outcome, name);
        m_news.Add("call", bm_dev::EscapedJson(ordered_json({{"op", "order"},
                                                             {"order", order.m_name},
                                                             {"result", outcome.m_result},
                                                             {"good", outcome.m_good},
                                                             {"changed", outcome.m_changed},
                                                             {"reasons", Texts(outcome.m_reasons)},
                                                             {"asker", name},
                                                             {"time", Rfc3339(WallNow())}})
                                                   .dump()));
        if (order.m_name == "led-set") {
            const std::lock_guard lock(m_guard);
            m_sweep.Hurry(LedSweep::Clock::now());
        }
        return Answer{200, OrderOutcomeJson(order.m_name, outcome)};
    });
}

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
        underWay = std::make_unique<UnderWay>(m_picture, std::string(OperationName(operation)), asker, true);
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
    m_listeners.m_lifecycle(operation, outcome.m_result);
    if (operation == Operation::Init) m_inited = true;
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
                                                         {"reasons", Texts(outcome.m_reasons)},
                                                         {"asker", asker},
                                                         {"time", Rfc3339(outcome.m_time)}})
                                               .dump()));
}

// What the adaptor tells without asking the controller.
void Resident::ReadBlade() {
    Inventory inventory;
    std::vector<DspFacts> dsps;
    std::vector<PortFacts> ports;
    try {
        inventory = ReadInventory(m_adaptor);
        dsps = ReadDsps(m_adaptor);
        ports = ReadPorts(m_adaptor);
    } catch (const std::exception& error) { // of the adaptor: what could be read is what there is
        LogOwn(error.what());
    }
    std::vector<LedPlace> places;
    for (const LedPlace place : LedPlaces()) {
        bool there = place.m_bay == BaseboardBay;
        for (const CBMIParams& row : inventory.m_modules)
            there = there || IntegerOf(row, BMI_HW_AMC_BAY) == place.m_bay;
        if (there) places.push_back(place);
    }
    m_picture.Change({"inventory", "dsps", "ports"}, [&](Picture& picture) {
        picture.m_inventory = std::move(inventory);
        picture.m_dsps = std::move(dsps);
        picture.m_ports = std::move(ports);
        return true;
    });
    m_upgrades.Inventoried();
    {
        const std::lock_guard lock(m_guard);
        m_sweep.Begin(std::move(places), LedSweep::Clock::now());
        m_portsDue = Lane::Clock::now() + m_settings.m_sweep;
    }
    m_controllerLane.Wake();
    m_portLane.Wake();
}

Lane::Clock::time_point Resident::SweepOn() {
    std::optional<LedPlace> place;
    {
        const std::lock_guard lock(m_guard);
        // Whoever ends the last order wakes the lane.
        if (m_ending || m_orders > 0 || !m_inited) return Lane::Clock::time_point::max();
        place = m_sweep.Due(LedSweep::Clock::now());
        if (!place) return m_sweep.When();
    }
    ReadNextLed(*place);
    const std::lock_guard lock(m_guard);
    return m_sweep.When();
}

void Resident::ReadNextLed(LedPlace place) {
    uint64_t number = 0;
    {
        const std::lock_guard lock(m_guard);
        number = m_controller.Called(ControllerWatch::Moment::Now());
    }
    LedReading reading;
    reading.m_bay = place.m_bay;
    reading.m_led = place.m_led;
    try {
        reading = ReadLedOnce(m_adaptor, place);
    } catch (const std::exception& error) { // of the adaptor: this LED cannot be read
        LogOwn(error.what());
    }
    const bool good = reading.m_result == Success;
    const bool exists = reading.m_result != NotFound;
    {
        const std::lock_guard lock(m_guard);
        m_controller.Returned(number, good, exists, ControllerWatch::Moment::Now());
        m_sweep.Done(exists, good || !exists, LedSweep::Clock::now());
    }
    Put(std::move(reading));
    Judge();
}

// A reading that shows nothing new may wait for the next: each makes a new picture.
void Resident::Put(LedReading reading) {
    const auto before = m_picture.Now();
    const LedReading* const old = FindLed(*before, reading.m_bay, reading.m_led);
    const bool exists = reading.m_result != NotFound;
    const bool same = old != nullptr && exists && old->m_result == reading.m_result &&
                      (!reading.m_state || (old->m_state && SameRow(*old->m_state, *reading.m_state)));
    const bool isNews = !same && (old != nullptr || exists);
    m_unchanged.push_back(std::move(reading));
    const auto now = Lane::Clock::now();
    if (!isNews && now - m_putLast < Beat) return;
    m_putLast = now;
    uint64_t sweeps = 0;
    {
        const std::lock_guard lock(m_guard);
        sweeps = m_sweep.Passes();
    }
    const auto put = [&](Picture& picture) {
        for (LedReading& each : m_unchanged)
            PutLed(std::move(each), picture.m_leds);
        picture.m_controller.m_sweeps = sweeps;
        return true;
    };
    if (isNews) {
        m_picture.Change({"leds"}, put);
    } else {
        m_picture.Change({}, put);
    }
    m_unchanged.clear();
}

// Takes what is known of the controller into the picture.
void Resident::Judge() {
    Controller state;
    {
        const std::lock_guard lock(m_guard);
        m_controller.Look(ControllerWatch::Moment::Now());
        state = m_controller.State();
    }
    if (m_picture.Now()->m_controller.m_state == state.m_state) return;
    m_picture.Change({"controller"}, [&](Picture& picture) {
        if (picture.m_controller.m_state == state.m_state) return false;
        picture.m_controller.m_state = state.m_state;
        picture.m_controller.m_since = state.m_since;
        return true;
    });
}

// The links of the switch's ports come and go; nothing tells.
Lane::Clock::time_point Resident::ReadPortsOn() {
    {
        const std::lock_guard lock(m_guard);
        if (m_ending || Lane::Clock::now() < m_portsDue) return m_portsDue;
    }
    if (m_orders == 0) {
        std::vector<PortFacts> ports = ReadPorts(m_adaptor);
        m_picture.Change({"ports"}, [&](Picture& picture) {
            if (SamePorts(picture.m_ports, ports)) return false;
            picture.m_ports = std::move(ports);
            return true;
        });
    }
    const std::lock_guard lock(m_guard);
    m_portsDue = Lane::Clock::now() + m_settings.m_sweep;
    return m_portsDue;
}

void Resident::Take(const AdaptorEvent& event) {
    if (event.m_event == BMI_EVENT_AMC_RUN_STATUS) {
        m_picture.Change({"inventory"}, [&](Picture& picture) {
            for (CBMIParams& row : picture.m_inventory.m_modules) {
                CBMIParam* const status = row.GetParamById(BMI_HW_AMC_RUN_STATUS);
                if (status == nullptr || IntegerOf(row, BMI_HW_AMC_BAY) != IntegerOf(event.m_params, BMI_HW_AMC_BAY))
                    continue;
                status->SetInt(IntegerOf(event.m_params, BMI_HW_AMC_RUN_STATUS));
                return true;
            }
            return false;
        });
    } else if (event.m_event == BMI_GROUP_FIRMWARE_UPDATE) {
        m_upgrades.Told(event.m_params);
    }
    ordered_json line;
    MakeJsonOutput([&line](ordered_json fields) {
        line = std::move(fields);
    })->Event(event.m_event, event.m_number, event.m_params);
    for (int i = 0; i < event.m_params.GetSize(); ++i) {
        ordered_json& param = line["params"][static_cast<std::size_t>(i)];
        param["name"] = ColumnName(event.m_params.Get(i)->GetId());
    }
    line["text"] = bm_dev::Utf8OfBytes(EventLine(event));
    line["time"] = Rfc3339(WallNow());
    m_news.Add("event", bm_dev::EscapedJson(line.dump()));
    m_listeners.m_event(event);
}

void Resident::Hear(int level, const std::string& component, const std::string& text) {
    m_log.Add(WallNow(), level, component, text);
    std::optional<HealthChange> change;
    {
        const std::lock_guard lock(m_healthGuard);
        change = m_health.Take(level, component, text);
    }
    if (change) Changed(*change);
}

void Resident::Changed(const HealthChange& change) {
    const WallTime now = WallNow();
    m_picture.Change({"health"}, [&](Picture& picture) {
        picture.m_health = {change.m_health, now, change.m_reasons};
        return true;
    });
    m_news.Add("health", bm_dev::EscapedJson(ordered_json({{"op", "health"},
                                                           {"state", HealthName(change.m_health)},
                                                           {"reasons", Texts(change.m_reasons)},
                                                           {"time", Rfc3339(now)}})
                                                 .dump()));
    m_listeners.m_health(change);
    if (change.m_health != HealthState::Fault) return;
    const std::lock_guard lock(m_guard);
    m_fault = true;
    const bool started = m_picture.Now()->m_host.m_start.has_value();
    const bool restarts = m_settings.m_restartOnFault && started &&
                          m_restarts.Fault(FaultRestarts::Clock::now()) == FaultRestarts::Verdict::Restarts;
    m_gaveUp = m_settings.m_restartOnFault && started && !restarts;
    if (!restarts && m_settings.m_exitOnFault) m_listeners.m_wantsToEnd();
}

void Resident::Tick() {
    Judge();
    bool restarts = false;
    bool gaveUp = false;
    {
        const std::lock_guard lock(m_guard);
        restarts = !m_ending && m_restarts.IsDue(FaultRestarts::Clock::now());
        gaveUp = std::exchange(m_gaveUp, false);
    }
    if (gaveUp) LogOwn("three restarts in a row ended with a fault: no more of them until the next start by order");
    if (restarts) Restart();
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

void Resident::Set(const ResidentSettings& settings) {
    {
        const std::lock_guard lock(m_guard);
        m_settings = settings;
        m_sweep.SetPeriod(settings.m_sweep);
        m_portsDue = std::min(m_portsDue, Lane::Clock::now() + settings.m_sweep);
        m_sweep.Hurry(LedSweep::Clock::now());
    }
    m_controllerLane.Wake();
    m_portLane.Wake();
}

bool Resident::End(const std::function<bool()>& hurried) {
    m_ending = true;
    while (m_upgrades.IsUnderWay() && !hurried())
        std::this_thread::sleep_for(Beat);
    std::promise<bool> ended;
    const auto end = [this, &ended] {
        bool good = true;
        try {
            if (HasToStop()) good = Lifecycle(Operation::Stop, "") == Success;
            good = Lifecycle(Operation::Fin, "") == Success && good;
        } catch (...) { // kept, for the caller
            good = false;
        }
        ended.set_value(good);
    };
    while (!m_lifecycle.Give(end)) // those that wait are about to be refused
        std::this_thread::sleep_for(Beat);
    const bool good = ended.get_future().get();
    const auto init = m_picture.Now()->m_host.m_init;
    const std::lock_guard lock(m_guard);
    if (m_thrown != nullptr) std::rethrow_exception(m_thrown);
    return good && !m_fault && !m_startFailed && init && init->m_result == Success;
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
