// The resident host's API at the web door.
#include "host/web/ApiDoor.h"

#include "host/api/CallJson.h"
#include "host/client/AccountHeader.h"
#include "host/web/ImageFile.h"

#include <any>
#include <utility>

namespace bmhost {

namespace {

MakeUploadSink ImagesIn(const std::string& folder) {
    return [folder](uint64_t /*size*/) { return std::make_unique<ImageFile>(folder); };
}

std::string WithQuery(std::string path, const Request& request) {
    char separator = '?';
    for (const auto& [name, value] : request.m_query) {
        path.append(1, separator).append(EncodedPart(name)).append("=").append(EncodedPart(value));
        separator = '&';
    }
    return path;
}

} // namespace

Statistics ApiDoor::MirroredHost::Counts() const {
    const std::shared_ptr<const Statistics> counts = m_mirror.Counts();
    if (counts == nullptr) throw Refusal(503, "", "the host has not told its counts", {{"Retry-After", "1"}});
    return *counts;
}

void ApiDoor::MirroredHost::Ask(const Asker& /*asker*/, Call /*call*/, Answered answered) {
    answered({503, nullptr});
}

void ApiDoor::MirroredHost::Ask(const Asker& /*asker*/, Order /*order*/, Answered answered) {
    answered({503, nullptr});
}

ApiDoor::ApiDoor(const BladeMirror& mirror, Forwarder& orders, Forwarder& looks, const ApiLimits& limits)
    : m_mirror(mirror),
      m_orders(orders),
      m_looks(looks),
      m_host(mirror),
      m_api(m_host, limits, ImagesIn(limits.m_imageFolder)) {}

BodyPlan ApiDoor::Begin(Request& request, std::optional<uint64_t> length) {
    return m_api.Begin(request, length);
}

Outcome ApiDoor::Handle(Request& request, const TakeTicket& takeTicket) {
    const Route& route = *std::any_cast<const Route*>(request.m_own);
    switch (route.m_body) {
    case Body::None:
        return Look(request, takeTicket, route);
    case Body::Json: {
        const bool order = !request.m_captured.empty();
        const std::string path = order ? "/v1/orders/" + EncodedPart(request.m_captured.front()) : request.m_path;
        const nlohmann::json body = request.m_body.empty() ? nlohmann::json::object() : JsonOf(request.m_body);
        return PassOn(m_orders, request, takeTicket, [path, body](HostClient& host) { return host.Post(path, body); });
    }
    case Body::Image:
        break;
    }
    const std::shared_ptr<ImageFile> image(static_cast<ImageFile*>(request.m_sink.release())); // as Begin has made it
    image->Finish();
    const std::string path = WithQuery("/v1/firmware", request);
    return PassOn(m_orders, request, takeTicket, [path, image](HostClient& host) {
        return host.PostFile(path, image->Descriptor(), image->Size(), {});
    });
}

Outcome ApiDoor::Look(Request& request, const TakeTicket& takeTicket, const Route& route) {
    if (route.m_path == "/v1/events" || route.m_path == "/v1/openapi.json") return m_api.Handle(request, takeTicket);
    if (route.m_path == "/v1/log") {
        const std::string path = WithQuery("/v1/log", request);
        return PassOn(m_looks, request, takeTicket, [path](HostClient& host) { return host.Get(path); });
    }
    // What was heard before is no state of now.
    const BladeView view = m_mirror.Look();
    if (!view.m_reachable) throw Refusal(503, "", view.m_reason, {{"Retry-After", "1"}});
    return m_api.Handle(request, takeTicket);
}

Outcome ApiDoor::PassOn(Forwarder& forwarder, const Request& request, const TakeTicket& takeTicket,
                        Forwarder::Work work) {
    const Ticket ticket = takeTicket();
    const bool given =
        forwarder.Give(std::string(request.Header(AccountHeader)), std::move(work),
                       [ticket](const HostAnswer& answer) { ticket(JsonReply(answer.m_status, answer.m_body)); });
    if (!given) ticket(Refusal(503, "", "too many orders wait for the host already", {{"Retry-After", "5"}}));
    return Waits{};
}

Reply ApiDoor::ErrorReply(const Request& request, const Refusal& refusal) {
    return m_api.ErrorReply(request, refusal);
}

} // namespace bmhost
