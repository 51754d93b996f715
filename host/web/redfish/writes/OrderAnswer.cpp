// What a client is answered once its request was carried out, or was not.
#include "host/web/redfish/writes/OrderAnswer.h"

#include "common/veldo_common_protocol.h"
#include "host/web/redfish/Places.h"
#include "host/words/CompletionCode.h"
#include "host/words/Names.h"

#include <algorithm>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

/// Completion codes that blame a value: a parameter out of range, a field that is invalid.
constexpr int CodeOutOfRange = 0xC9;
constexpr int CodeInvalidField = 0xCC;

ExtendedInfo AdaptorsResult(int result) {
    return {"AdaptorAnswered", {std::to_string(result), std::string(ResultMeaning(result))}};
}

RedfishAnswer InternalAnswer(int result) {
    return ErrorAnswer(500, {{"InternalError"}, AdaptorsResult(result)});
}

RedfishAnswer FailedAnswer(const ExtendedInfo& why) {
    return ErrorAnswer(500, {{"OperationFailed"}, why});
}

RedfishAnswer BusyAnswer() {
    RedfishAnswer answer = ErrorAnswer(503, {{"ResourceInUse"}});
    answer.m_headers.emplace_back("Retry-After", "30");
    return answer;
}

RedfishAnswer LedRefusal(const OrderWish& wish, int result) {
    if (result == RESULT_OK) return FailedAnswer({"NothingSet"});
    if (result == RESULT_NO_LED || result == RESULT_NOT_FOUND)
        return ErrorAnswer(400, {{"ActionParameterValueError", {"Led", wish.m_action}}, AdaptorsResult(result)});
    if (result < RESULT_REFUSED_FIRST || result > RESULT_REFUSED_LAST) return InternalAnswer(result);
    const ExtendedInfo refused{"ControllerRefused", {CompletionCodeText(result)}};
    if (result == CodeOutOfRange || result == CodeInvalidField)
        return ErrorAnswer(400, {{"ActionParameterValueError", {wish.m_property, wish.m_action}}, refused});
    return FailedAnswer(refused);
}

RedfishAnswer LedAnswer(const OrderWish& wish, int result) {
    return result == RESULT_NOTHING_DONE ? EmptyAnswer() : LedRefusal(wish, result);
}

RedfishAnswer PortAnswer(const OrderWish& wish, int result) {
    if (result == RESULT_NO_ROW) return MissingAnswer(wish.m_uri);
    if (result == RESULT_NOTHING_DONE) return FailedAnswer(AdaptorsResult(result)); // the switch refused
    return InternalAnswer(result);
}

RedfishAnswer AddressAnswer(const OrderWish& wish, int result) {
    return result == RESULT_NO_ROW ? MissingAnswer(wish.m_uri) : InternalAnswer(result);
}

RedfishAnswer ResetAnswer(const OrderWish&, int result) {
    return InternalAnswer(result);
}

struct AnsweredOrder {
    std::string_view m_order;
    RedfishAnswer (*m_answer)(const OrderWish& wish, int result);
};

// Of results other than success; of an LED of all, since there success is another number.
constexpr AnsweredOrder AnsweredOrders[] = {
    {"led-set", LedAnswer}, {"switch-set", PortAnswer}, {"dsp-set-ip", AddressAnswer}, {"board-reset", ResetAnswer}};

// A PATCH of which some could not be written shows what is there now, and why the rest is not.
RedfishAnswer PartlyWritten(const TreeFacts& facts, const OrderWish& wish) {
    Resource resource = ResourceAt(facts, wish.m_uri);
    if (!resource) return MissingAnswer(wish.m_uri);
    ordered_json infos = ordered_json::array();
    for (const ExtendedInfo& remark : wish.m_remarks)
        infos.push_back(MessageJson(remark));
    const std::string etag = EtagOf(*resource);
    (*resource)["@Message.ExtendedInfo"] = infos;
    RedfishAnswer answer = JsonAnswer(200, *resource);
    answer.m_headers.emplace_back("ETag", etag);
    return answer;
}

} // namespace

RedfishAnswer OrderAnswer(const TreeFacts& facts, const OrderWish& wish, const OrderOutcome& outcome) {
    const auto* const answered = std::ranges::find(AnsweredOrders, wish.m_order.m_name, &AnsweredOrder::m_order);
    if (answered == std::end(AnsweredOrders)) return InternalAnswer(outcome.m_result);
    const bool isLed = wish.m_order.m_name == "led-set";
    if (isLed || outcome.m_result != RESULT_OK) return answered->m_answer(wish, outcome.m_result);
    return wish.m_remarks.empty() ? EmptyAnswer() : PartlyWritten(facts, wish);
}

RedfishAnswer RefusedOrderAnswer(const OrderWish& wish, unsigned status, const std::string& reason) {
    const ExtendedInfo refused{"Refused", {CharactersOf(reason)}};
    if (status == 0 || status == 503) return UnavailableAnswer();
    if (status != 400) return ErrorAnswer(500, {{"InternalError"}, refused});
    if (wish.m_action.empty())
        return ErrorAnswer(
            400, {{"PropertyValueIncorrect", {wish.m_property.substr(1), wish.m_value}, wish.m_property}, refused});
    return ErrorAnswer(400, {{"ActionParameterValueError", {wish.m_property, wish.m_action}}, refused});
}

// No body with the 202: a client takes a resource in it for the one to wait for.
RedfishAnswer UploadAnswer(const TreeFacts& facts, const OrderOutcome& outcome) {
    if (outcome.m_result == RESULT_NOTHING_DONE) return BusyAnswer();
    if (outcome.m_result != RESULT_OK) return InternalAnswer(outcome.m_result);
    const bool known = facts.m_view.m_picture != nullptr && !facts.m_view.m_picture->m_upgrades.empty();
    if (!known) return UnavailableAnswer();
    RedfishAnswer answer = EmptyAnswer(202);
    answer.m_headers.emplace_back("Location", TaskMonitorUri(facts.m_view.m_picture->m_upgrades.back()));
    return answer;
}

RedfishAnswer LoginAnswer(const TreeFacts& facts, const std::string& session, const std::string& token) {
    const std::string uri = std::string(SessionsUri) + "/" + session;
    const Resource resource = ResourceAt(facts, uri);
    if (!resource) return ErrorAnswer(500, {{"InternalError"}});
    RedfishAnswer answer = JsonAnswer(201, *resource);
    answer.m_headers.emplace_back("Location", uri);
    answer.m_headers.emplace_back("X-Auth-Token", token);
    return answer;
}

} // namespace bmhost
