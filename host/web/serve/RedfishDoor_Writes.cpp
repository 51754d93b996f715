// Redfish at the web door: what is to be changed.
#include "host/web/serve/RedfishDoor.h"

#include "host/client/AccountHeader.h"
#include "host/web/DoorLog.h"
#include "host/web/redfish/Places.h"
#include "host/web/redfish/writes/OrderAnswer.h"
#include "host/web/serve/RedfishErrors.h"
#include "host/web/serve/UploadForm.h"
#include "host/words/Value.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace bmhost {

namespace {

constexpr unsigned FirstError = 400;

std::string ReasonOf(const HostAnswer& answer) {
    const auto* const error =
        answer.m_body.is_object() && answer.m_body.contains("error") ? &answer.m_body["error"] : nullptr;
    if (error == nullptr || !error->is_object() || !error->contains("reason")) return "no reason was given";
    const auto& reason = error->at("reason");
    return reason.is_string() ? reason.get<std::string>() : "no reason was given";
}

RedfishAnswer Failed(const char* key, const std::string& reason) {
    return ErrorAnswer(500, std::vector<ExtendedInfo>{{key}, {"Refused", {CharactersOf(reason)}}});
}

// The answer that an outcome is; one of a host that answers something else is none.
RedfishAnswer AnswerOfOutcome(const HostAnswer& answer, const std::function<RedfishAnswer(const OrderOutcome&)>& make) {
    try {
        const OrderOutcome outcome = OrderOutcomeOf(answer.m_body);
        // Redfish has no way to ask for simulated data, so nothing is ever done to them.
        if (IsRefusedAsSimulated(outcome))
            return ErrorAnswer(500, std::vector<ExtendedInfo>{{"OperationFailed"}, {"NothingSet"}});
        return make(outcome);
    } catch (const std::exception& error) {
        return Failed("InternalError", error.what());
    }
}

RedfishAnswer RefusedUpload(const HostAnswer& answer) {
    const std::string reason = ReasonOf(answer);
    switch (answer.m_status) {
    case 400:
        return ErrorAnswer(400,
                           std::vector<ExtendedInfo>{{"MissingOrMalformedPart"}, {"Refused", {CharactersOf(reason)}}});
    case 413:
        return OneError(413, {"PayloadTooLarge"});
    case 503:
        return UnavailableAnswer();
    case 507:
        return OneError(507, {"InsufficientStorage"});
    default:
        break;
    }
    return Failed("InternalError", reason);
}

Reply LoginReply(const RedfishParts& parts, const Visitor& visitor) {
    const auto opened = parts.m_sources.m_logins.OpenSessions().Open(visitor.m_name, visitor.m_address);
    if (!opened) return ReplyOf(OneError(503, {"SessionLimitExceeded"}));
    const std::string id = std::to_string(opened->m_session.m_id);
    LogDoor(visitor.Text() + " has logged in, session " + id);
    return ReplyOf(LoginAnswer(FactsNow(parts).Tree(), id, opened->m_token));
}

// What the resident host never hears of stands in the door's own log.
void LogOrder(const Request& request, const std::string& what) {
    const auto visitor = VisitorOf(request);
    LogDoor((visitor ? visitor->Text() : "somebody at " + request.m_peer.m_address) + " " + what);
}

std::string FirmwarePath(const Order& order, const std::string& name) {
    std::string path = "/v1/firmware?target=" + order.m_values.at("target").get<std::string>();
    if (order.m_values.contains("bay")) path += "&bay=" + order.m_values.at("bay").dump();
    return path + "&name=" + EncodedPart(name);
}

} // namespace

void RedfishDoor::Turn() {
    m_parts->m_events.Update();
    const auto now = std::chrono::steady_clock::now();
    const auto due = std::partition(m_answered.begin(), m_answered.end(),
                                    [&](const Answered& answered) { return answered.m_due > now; });
    for (auto answered = due; answered != m_answered.end(); ++answered) {
        const std::string path = "/v1/orders/" + answered->m_order.m_name;
        const bool given = m_orders.Give(
            answered->m_account,
            [path, values = answered->m_order.m_values](HostClient& host) { return host.Post(path, values); },
            [path](const HostAnswer& answer) {
                if (answer.m_status >= FirstError) LogDoor(path + " was answered too early: " + ReasonOf(answer));
            });
        if (!given) LogDoor(path + " was answered too early: too many orders wait for the host already");
    }
    m_answered.erase(due, m_answered.end());
}

// The ticket is answered on a thread of the forwarder's, once the picture shows what was done.
void RedfishDoor::PassOn(const Request& request, const Ticket& ticket, Forwarder::Work work,
                         const std::function<RedfishAnswer(const HostAnswer&, bool)>& answer) {
    const bool given =
        m_orders.Give(std::string(request.Header(AccountHeader)), std::move(work),
                      [parts = m_parts, time = m_limits.m_picture, ticket, answer](const HostAnswer& told) {
                          const bool shown = told.m_status < FirstError && parts->m_sources.m_mirror.Renew(time);
                          ticket(ReplyOf(answer(told, shown)));
                      });
    if (!given) ticket(ReplyOf(UnavailableAnswer()));
}

Outcome RedfishDoor::Give(const Request& request, const OrderWish& wish, const TakeTicket& takeTicket) {
    if (wish.m_answeredFirst) {
        m_answered.push_back({std::chrono::steady_clock::now() + m_limits.m_answerFirst,
                              std::string(request.Header(AccountHeader)), wish.m_order});
        return ReplyOf(EmptyAnswer());
    }
    const std::string path = "/v1/orders/" + wish.m_order.m_name;
    PassOn(
        request, takeTicket(),
        [path, values = wish.m_order.m_values](HostClient& host) { return host.Post(path, values); },
        [parts = m_parts, wish](const HostAnswer& told, bool /*shown*/) {
            if (told.m_status >= FirstError) return RefusedOrderAnswer(wish, told.m_status, ReasonOf(told));
            return AnswerOfOutcome(
                told, [&](const OrderOutcome& outcome) { return OrderAnswer(FactsNow(*parts).Tree(), wish, outcome); });
        });
    return Waits{};
}

Outcome RedfishDoor::Upload(Request& request, const TakeTicket& takeTicket) {
    auto& form = static_cast<UploadForm&>(*request.m_sink); // as Begin has made it
    if (const auto complaint = form.Complaint()) return ReplyOf(*complaint);
    const auto order = UploadOrderOf(FactsNow(*m_parts).Tree(), form.Parameters());
    if (const auto* const answer = std::get_if<RedfishAnswer>(&order)) return ReplyOf(*answer);
    const std::string path = FirmwarePath(std::get<Order>(order), form.ImageName());
    const Ticket ticket = takeTicket();
    const std::shared_ptr<ImageFile> image = form.TakeImage();
    request.m_sink.reset();
    PassOn(
        request, ticket,
        [path, image](HostClient& host) { return host.PostFile(path, image->Descriptor(), image->Size(), {}); },
        [parts = m_parts](const HostAnswer& told, bool shown) {
            if (told.m_status >= FirstError) return RefusedUpload(told);
            return AnswerOfOutcome(told, [&](const OrderOutcome& outcome) {
                // Of the tasks the last one is this one, but not before the picture has it.
                if (outcome.m_good && !shown) return Failed("InternalError", "its task is not known yet: see Tasks");
                return UploadAnswer(FactsNow(*parts).Tree(), outcome);
            });
        });
    return Waits{};
}

Outcome RedfishDoor::LogIn(const Request& request, const LoginWish& wish, const TakeTicket& takeTicket) {
    // The password is compared on a thread of the logins' own.
    m_parts->m_sources.m_logins.Check({wish.m_account, wish.m_password}, request.m_peer.m_address,
                                      [parts = m_parts, ticket = takeTicket()](const Logins::Login& login) {
                                          if (const auto* refusal = std::get_if<Refusal>(&login))
                                              return ticket(*refusal);
                                          ticket(LoginReply(*parts, std::get<Visitor>(login)));
                                      });
    return Waits{};
}

Outcome RedfishDoor::LogOut(const Request& request, const LogoutWish& wish) {
    const auto id = ParseNumber(wish.m_session);
    const bool closed = id && *id >= 0 && m_parts->m_sources.m_logins.OpenSessions().Close(static_cast<uint64_t>(*id));
    if (!closed) return ReplyOf(MissingAnswer(std::string(SessionsUri) + "/" + wish.m_session));
    LogOrder(request, "has ended session " + wish.m_session);
    m_parts->m_events.CloseAllOf(static_cast<uint64_t>(*id));
    Wake();
    return ReplyOf(EmptyAnswer());
}

Outcome RedfishDoor::EndStream(const Request& request, const StreamEndWish& wish) {
    if (!m_parts->m_events.Close(wish.m_subscription))
        return ReplyOf(MissingAnswer("/redfish/v1/EventService/Subscriptions/" + wish.m_subscription));
    LogOrder(request, "has closed the stream of events " + wish.m_subscription);
    Wake();
    return ReplyOf(EmptyAnswer());
}

Outcome RedfishDoor::TellTestEvent(const Request& request, const TestEventWish& wish) {
    LogOrder(request, "has sent a test event");
    m_parts->m_events.Tell({wish.m_record});
    Wake();
    return ReplyOf(EmptyAnswer());
}

void RedfishDoor::Wake() const {
    if (m_wake) m_wake();
}

} // namespace bmhost
