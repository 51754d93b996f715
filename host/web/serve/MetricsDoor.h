// /metrics at the web door.
#pragma once

#include "host/http/Service.h"
#include "host/web/BladeMirror.h"
#include "host/web/metrics/WebFacts.h"

#include <functional>
#include <utility>

namespace bmhost {

/// All samples come from what the mirror has: a scrape waits for nobody.
class MetricsDoor final : public HttpService {
public:
    /// @param mirror  outlives the service
    /// @param facts   what the door knows of itself, asked at each scrape on the server's thread
    MetricsDoor(const BladeMirror& mirror, std::function<WebFacts()> facts)
        : m_mirror(mirror),
          m_facts(std::move(facts)) {}

    BodyPlan Begin(Request& request, std::optional<uint64_t> length) override;
    Outcome Handle(Request& request, const TakeTicket& takeTicket) override;
    /// A line of text.
    Reply ErrorReply(const Request& request, const Refusal& refusal) override;

private:
    const BladeMirror& m_mirror;
    const std::function<WebFacts()> m_facts;
};

} // namespace bmhost
