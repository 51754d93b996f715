// What the resident host answers at its socket: the routes, in HTTP's words.
#include "host/api/ApiService.h"

#include "host/api/Asks.h"

#include "bm_dev/Reason.h"

#include <new>

namespace bmhost {

namespace {

Answered AnsweredBy(Ticket ticket) {
    return [ticket = std::move(ticket)](const Answer& answer) {
        try {
            if (answer.m_body.is_null()) {
                ticket(Refusal(answer.m_status, "", "the host has dropped this without an answer"));
            } else {
                ticket(JsonReply(answer.m_status, answer.m_body));
            }
        } catch (const std::bad_alloc& error) {
            ticket(Refusal(500, "", bm_dev::ReasonOf(error)));
        }
    };
}

} // namespace

ApiService::ApiService(ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink)
    : m_limits(limits),
      m_makeSink(std::move(makeSink)),
      m_api{host, m_limits, m_makeSink, {}} {}

BodyPlan ApiService::Begin(Request& request, std::optional<uint64_t> length) {
    const Route& route = FindRoute(request);
    request.m_own = &route;
    switch (route.m_body) {
    case Body::None:
        return BodyPlan::None();
    case Body::Json:
        return BodyPlan::Whole(m_limits.m_bodySize, "application/json");
    case Body::Image:
        break;
    }
    if (!length) throw Refusal(411, "Content-Length", "the image's size is needed before it comes");
    request.ExpectMediaType("application/octet-stream");
    return BodyPlan::Pieces(BeginImage(m_api, request, *length), m_limits.m_imageSize, m_limits.m_imageTime);
}

Outcome ApiService::Handle(Request& request, const TakeTicket& takeTicket) {
    const Route& route = *std::any_cast<const Route*>(request.m_own);
    if (route.m_body == Body::None) return route.m_handler(m_api, request, nullptr);
    return route.m_handler(m_api, request, AnsweredBy(takeTicket()));
}

Reply ApiService::ErrorReply(const Request& request, const Refusal& refusal) {
    return JsonReply(
        refusal.m_status,
        {{"error", {{"operation", request.Operation()}, {"value", refusal.m_value}, {"reason", refusal.what()}}}},
        refusal.m_headers);
}

} // namespace bmhost
