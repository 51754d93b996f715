// What the resident host answers at its socket: the routes, in HTTP's words.
#pragma once

#include "host/api/Routes.h"
#include "host/http/Service.h"

namespace bmhost {

class ApiService : public HttpService {
public:
    /// @param host  outlives the service
    ApiService(ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink);
    ApiService(const ApiService&) = delete;
    ApiService& operator=(const ApiService&) = delete;

    BodyPlan Begin(Request& request, std::optional<uint64_t> length) override;
    Outcome Handle(Request& request, const TakeTicket& takeTicket) override;
    /// {"error": {"operation", "value", "reason"}}
    Reply ErrorReply(const Request& request, const Refusal& refusal) override;

private:
    const ApiLimits m_limits;
    const MakeUploadSink m_makeSink;
    Api m_api;
};

} // namespace bmhost
