// Redfish at the web door: what is read, and how all of it is answered.
#include "host/web/serve/RedfishDoor.h"

#include "host/web/redfish/Places.h"
#include "host/web/redfish/Reading.h"
#include "host/web/serve/RedfishErrors.h"
#include "host/web/serve/UploadForm.h"
#include "host/words/Value.h"

#include <algorithm>
#include <utility>

namespace bmhost {

namespace {

bool IsRead(const Request& request) {
    return request.m_method == "GET" || request.m_method == "HEAD";
}

// Without a slash too many.
std::string_view PathOf(const Request& request) {
    std::string_view path = request.m_path;
    if (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    return path;
}

bool IsUpload(const Request& request) {
    return request.m_method == "POST" && PathOf(request) == UploadUri;
}

RedfishRequest RedfishRequestOf(const Request& request) {
    RedfishRequest made{request.m_method, request.m_path};
    made.m_query.assign(request.m_query.begin(), request.m_query.end());
    made.m_odataVersion = request.Header("OData-Version");
    made.m_ifMatch = request.Header("If-Match");
    made.m_ifNoneMatch = request.Header("If-None-Match");
    made.m_body = request.m_body;
    return made;
}

bool Has(const Reply& reply, std::string_view name) {
    return std::any_of(reply.m_headers.begin(), reply.m_headers.end(),
                       [&](const auto& header) { return header.first == name; });
}

} // namespace

RedfishDoor::RedfishDoor(FactSources sources, Forwarder& orders, RedfishLimits limits)
    : m_parts(std::make_shared<RedfishParts>(std::move(sources))),
      m_orders(orders),
      m_limits(std::move(limits)) {}

bool RedfishDoor::IsOwn(const Request& request, const Visitor& visitor) const {
    const FactsNow facts(*m_parts);
    const FoundNode found = FindNode(facts.Tree(), request.m_path);
    if (found.m_node != nullptr && found.m_node->m_schema == "EventDestination") {
        const auto& streams = facts.Tree().m_subscriptions;
        return std::ranges::any_of(streams, [&](const SubscriptionFacts& stream) {
            return stream.m_id == found.m_wanted.m_ids.at(0) && stream.m_account == visitor.m_name;
        });
    }
    return OwnerOf(facts.Tree(), request.m_path) == visitor.m_name;
}

BodyPlan RedfishDoor::Begin(Request& request, std::optional<uint64_t> /*length*/) {
    // What comes with a GET is nobody's.
    if (IsRead(request)) return BodyPlan::Whole(m_limits.m_bodySize);
    if (!IsUpload(request)) return BodyPlan::Whole(m_limits.m_bodySize, "application/json");
    const auto boundary = BoundaryOf(request.Header("Content-Type"));
    if (!boundary)
        throw Refusal(415, std::string(request.Header("Content-Type")), "expected multipart/form-data with a boundary");
    auto form = std::make_unique<UploadForm>(m_limits.m_imageFolder, *boundary, m_parts->m_sources.m_mostImageBytes);
    return BodyPlan::Pieces(std::move(form), UploadForm::LongestBody(m_parts->m_sources.m_mostImageBytes),
                            m_limits.m_imageTime);
}

Outcome RedfishDoor::Handle(Request& request, const TakeTicket& takeTicket) {
    const FactsNow facts(*m_parts);
    const RedfishRequest asked = RedfishRequestOf(request);
    if (IsRead(request)) {
        if (PathOf(request) != EventStreamUri) return ReplyOf(Read(facts.Tree(), asked));
        if (const auto complaint = ComplaintOf(asked)) return ReplyOf(*complaint);
        return OpenStream(request);
    }
    const Wish wish = WishOf(facts.Tree(), asked);
    if (const auto* answer = std::get_if<RedfishAnswer>(&wish)) return ReplyOf(*answer);
    if (const auto* order = std::get_if<OrderWish>(&wish)) return Give(request, *order, takeTicket);
    if (const auto* login = std::get_if<LoginWish>(&wish)) return LogIn(request, *login, takeTicket);
    if (const auto* logout = std::get_if<LogoutWish>(&wish)) return LogOut(request, *logout);
    if (const auto* end = std::get_if<StreamEndWish>(&wish)) return EndStream(request, *end);
    if (const auto* test = std::get_if<TestEventWish>(&wish)) return TellTestEvent(request, *test);
    return Upload(request, takeTicket);
}

Outcome RedfishDoor::OpenStream(const Request& request) {
    if (request.m_method == "HEAD") {
        Reply reply;
        reply.m_contentType = "text/event-stream";
        reply.m_body = std::make_shared<const std::string>();
        return reply;
    }
    EventReader reader;
    if (const auto visitor = VisitorOf(request)) {
        reader.m_account = visitor->m_name;
        reader.m_session = visitor->m_session;
    }
    reader.m_address = request.m_peer.m_address;
    std::optional<uint64_t> after;
    if (const auto last = ParseNumber(std::string(request.Header("Last-Event-ID"))); last && *last >= 0)
        after = static_cast<uint64_t>(*last);
    return Streams{m_parts->m_events.Open(std::move(reader), after)};
}

// The door has a row for each method that there is somewhere; what a resource takes, the tree knows better.
Reply RedfishDoor::ErrorReply(const Request& request, const Refusal& refusal) {
    if (refusal.m_status == 405 && !IsRead(request)) {
        const FactsNow facts(*m_parts);
        const Wish wish = WishOf(facts.Tree(), RedfishRequestOf(request));
        if (const auto* answer = std::get_if<RedfishAnswer>(&wish)) return ReplyOf(*answer);
    }
    return ReplyOf(AnswerOf(request, refusal));
}

void RedfishDoor::Finish(const Request& /*request*/, Reply& reply) {
    if (!Has(reply, "OData-Version")) reply.m_headers.emplace_back("OData-Version", "4.0");
}

} // namespace bmhost
