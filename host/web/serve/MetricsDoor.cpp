// /metrics at the web door.
#include "host/web/serve/MetricsDoor.h"

#include "host/web/metrics/MetricsText.h"

#include <memory>
#include <string>

namespace bmhost {

BodyPlan MetricsDoor::Begin(Request& request, std::optional<uint64_t> /*length*/) {
    // Nothing is below it.
    if (request.m_path != "/metrics") throw Refusal(404, request.m_path, "no such path");
    return BodyPlan::None();
}

Outcome MetricsDoor::Handle(Request& request, const TakeTicket& /*takeTicket*/) {
    const MetricsFormat format = MetricsFormatFor(request.Header("Accept"));
    const std::shared_ptr<const Statistics> counts = m_mirror.Counts();
    const WebFacts facts = m_facts();
    Reply reply;
    reply.m_contentType = MetricsContentType(format);
    reply.m_headers = {{"Vary", "Accept"}};
    reply.m_body =
        std::make_shared<const std::string>(MetricsText(m_mirror.Look(), counts.get(), &facts, WallNow(), format));
    return reply;
}

Reply MetricsDoor::ErrorReply(const Request& /*request*/, const Refusal& refusal) {
    return {refusal.m_status, std::make_shared<const std::string>(std::string(refusal.what()) + "\n"),
            refusal.m_headers, "text/plain; charset=utf-8"};
}

} // namespace bmhost
