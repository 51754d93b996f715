// The resident host: what it is asked, on lanes, and what it answers.
#include "host/resident/Resident.h"

#include "host/news/NewsTexts.h"
#include "host/output/JsonOutput.h"
#include "host/picture/Led.h"
#include "host/resident/UnderWay.h"
#include "host/service/OwnLog.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"
#include "bm_dev/Reason.h"

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

bool ChangesBlade(Operation operation) {
    return operation == Operation::Write || operation == Operation::Start || operation == Operation::Stop;
}

std::string NameOf(const Call& call) {
    std::string name(OperationName(call.m_operation));
    return NeedsLife(call.m_operation) ? name + " " + Hex(call.m_group) : name;
}

/// An order's values, which nobody has checked yet.
class Wish {
public:
    explicit Wish(const nlohmann::json& values) : m_values(values) {}

    /// ", AMC bay 3", ", LED 3", ", on"; empty for what is missing or of another type.
    std::string Bay(const char* key) const {
        const auto bay = Number(key);
        return bay ? ", " + LedBayText(*bay) : "";
    }
    std::string Numbered(const char* what, const char* key) const {
        const auto number = Number(key);
        return number ? ", " + std::string(what) + " " + std::to_string(*number) : "";
    }
    std::string Text(const char* key) const {
        const auto found = Find(key);
        return found != nullptr && found->is_string() ? bm_dev::Printable(found->get<std::string>()) : "";
    }
    std::string After(const char* mark, const char* key) const {
        const std::string text = Text(key);
        return text.empty() ? "" : mark + text;
    }
    bool IsFalse(const char* key) const {
        const auto found = Find(key);
        return found != nullptr && found->is_boolean() && !found->get<bool>();
    }

private:
    const nlohmann::json* Find(const char* key) const {
        if (!m_values.is_object()) return nullptr;
        const auto found = m_values.find(key);
        return found != m_values.end() ? &*found : nullptr;
    }
    std::optional<int32_t> Number(const char* key) const {
        const auto found = Find(key);
        if (found == nullptr || !found->is_number_integer()) return std::nullopt;
        return static_cast<int32_t>(found->get<int64_t>());
    }

    const nlohmann::json& m_values;
};

std::string NameOf(const Order& order) {
    const Wish values(order.m_values);
    if (order.m_name == "led-set")
        return "led set" + values.Bay("bay") + values.Numbered("LED", "led") + values.After(", ", "action") +
               values.After(" ", "color");
    if (order.m_name == "dsp-set-ip")
        return "dsp set-ip" + values.Numbered("DSP", "dsp") + values.After(", ", "address");
    if (order.m_name == "switch-set")
        return (values.IsFalse("enabled") ? "switch disable" : "switch enable") + values.Numbered("port", "port");
    if (order.m_name == "board-reset") return "reset board";
    if (order.m_name != "firmware-update") return order.m_name;
    const std::string target = values.Text("target");
    const std::string place = target == "amc" ? values.Bay("bay") : target == "rtm" ? ", RTM" : ", baseboard";
    return "firmware update" + place + values.After(", ", "name");
}

Answer Refused(unsigned status, const std::string& operation, const std::string& reason) {
    return {status, {{"error", {{"operation", operation}, {"value", ""}, {"reason", bm_dev::Utf8OfBytes(reason)}}}}};
}

// They are for the client: the host's own standard error does not get them.
void AddReasons(Answer& answer, const MadeCall& made) {
    if (made.m_result != Success && !made.m_reasons.empty()) answer.m_body["reasons"] = TextsOf(made.m_reasons);
}

// What the order is about, for people: "AMC bay 3, LED health", "DSP 5", "port 2"; empty for the whole blade.
std::string PlaceOf(const ordered_json& values) {
    const auto text = [&values](const char* key) {
        const auto found = values.find(key);
        return found != values.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    if (!values.is_object()) return "";
    if (!text("led_name").empty()) return text("place") + ", LED " + text("led_name");
    for (const auto& [key, name] : {std::pair{"dsp", "DSP "}, {"port", "port "}}) {
        const auto found = values.find(key);
        if (found != values.end() && found->is_number_integer()) return name + found->dump();
    }
    return text("place");
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
    std::unique_ptr<UnderWay> m_underWay{};
};

Lane& Resident::LaneOf(const Call& call) {
    if (call.m_operation == Operation::Start || call.m_operation == Operation::Stop) return m_lifecycle;
    return AsksController(call.m_group) ? m_controllerLane : m_calls;
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

// Without memory even for saying so, the answer is empty.
Answer Resident::Worked(const Asked& asked, const std::function<Answer(HostSession&)>& work, bool other) try {
    if (m_ending) return Refused(503, asked.m_name, "the host is about to end");
    asked.m_underWay->Begin();
    Answer answer;
    try {
        HostSession session = SessionFor(asked);
        answer = work(session);
    } catch (const UsageError& error) {
        answer = Refused(400, asked.m_name, error.what());
    } catch (const std::exception& error) {
        answer = Refused(500, asked.m_name, bm_dev::ReasonOf(error));
    }
    try {
        if (asked.m_order && other) ReadBlade();
    } catch (const std::bad_alloc&) { // the picture stays as it was
    }
    return answer;
} catch (const std::bad_alloc&) {
    return {500, nullptr};
}

void Resident::Give(Lane& lane, const std::shared_ptr<Asked>& asked, std::function<Answer(HostSession&)> work) {
    const bool lives = &lane == &m_lifecycle;
    const bool other = &lane == &m_calls;
    // A start waits for its turn after an init.
    if (const std::string refusal = Refusal(); !refusal.empty() && (m_ending || !lives))
        return asked->m_answered(Refused(503, asked->m_name, refusal));
    if (asked->m_order) ++m_orders;
    asked->m_underWay = std::make_unique<UnderWay>(
        m_picture, lane, CallInProgress{asked->m_name, WallNow(), asked->m_asker, true}, asked->m_order);
    const bool given = lane.Give([this, asked, work = std::move(work), other] {
        Answer answer = Worked(*asked, work, other);
        asked->m_underWay.reset();
        if (asked->m_order && --m_orders == 0) m_controllerLane.Wake();
        asked->m_answered(std::move(answer));
    });
    if (given) return;
    if (asked->m_order) --m_orders;
    asked->m_underWay.reset();
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
    const bool controller = AsksController(call.m_group) && NeedsLife(call.m_operation);
    Give(LaneOf(call), asked, [this, call, controller](HostSession& session) mutable {
        Answer answer;
        const auto output = MakeJsonOutput([&answer](ordered_json line) { answer.m_body = std::move(line); });
        if (!controller) {
            AddReasons(answer, MakeAndShow(session, call, *output));
            return answer;
        }
        uint64_t number = 0;
        {
            const std::lock_guard lock(m_guard);
            number = m_controller.Called(ControllerWatch::Moment::Now());
        }
        const MadeCall made = MakeAndShow(session, call, *output);
        const bool good = made.m_result == Success;
        AddReasons(answer, made);
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
    Give(lane, asked, [this, order = std::move(order), name, what = asked->m_name](HostSession& session) {
        const OrderOutcome outcome = m_carrier(order, session, *m_picture.Now());
        m_adaptor.CarriedOut(order.m_name, outcome);
        LogOwn("order " + what + ": result " + std::to_string(outcome.m_result));
        if (m_listeners.m_order) m_listeners.m_order(order, outcome, name);
        m_news.Add("call", bm_dev::EscapedJson(ordered_json({{"op", "order"},
                                                             {"order", order.m_name},
                                                             {"place", PlaceOf(outcome.m_values)},
                                                             {"result", outcome.m_result},
                                                             {"good", outcome.m_good},
                                                             {"changed", outcome.m_changed},
                                                             {"reasons", TextsOf(outcome.m_reasons)},
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

} // namespace bmhost
