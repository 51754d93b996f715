// What a program implements to be asked over HTTP.
#pragma once

#include "host/http/Body.h"
#include "host/http/Reply.h"
#include "host/http/Request.h"
#include "host/http/Stream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace bmhost {

/// The answer comes by a ticket.
struct Waits {};
/// A stream follows.
struct Streams {
    std::unique_ptr<Stream> m_stream;
};

using Outcome = std::variant<Reply, Waits, Streams>;

/// What the request waited for is there: it is handled once more, as it was left.
struct Again {};

/// What a request that waits comes to in the end; a refusal becomes HttpService::ErrorReply.
using Settled = std::variant<Reply, Refusal, Again>;
/// Called once, on any thread, perhaps before the handler returns, perhaps after the server's end. Dropped without a
/// call, it answers 503.
using Ticket = std::function<void(Settled)>;
/// Called at most once in a handler. Throws Refusal, 503, when too many requests wait already.
using TakeTicket = std::function<Ticket()>;

/// All on the server's thread, one request at a time: whatever takes time is for others, by a ticket. GET serves HEAD,
/// too: the server leaves the body away.
class HttpService {
public:
    virtual ~HttpService() = default;

    /// After the headers: which body is taken.
    /// @param length  the body's; none: no body comes, since chunked ones have been refused with 411
    /// Throws Refusal; what else is thrown is told as 500.
    virtual BodyPlan Begin(Request& request, std::optional<uint64_t> length) = 0;
    /// The request has come whole. Throws Refusal; what else is thrown is told as 500. Who returns Waits has taken a
    /// ticket, and is called once more for the same request if that is answered with Again.
    virtual Outcome Handle(Request& request, const TakeTicket& takeTicket) = 0;
    /// What an error looks like in the service's language. The request may have been refused before Begin.
    virtual Reply ErrorReply(const Request& request, const Refusal& refusal) = 0;
    /// Adds to the headers of whatever is sent, errors and the beginning of a stream included; also
    /// to what has been refused before Begin. "Connection: close" ends
    /// the connection after the answer.
    virtual void Finish(const Request& /*request*/, Reply& /*reply*/) {}
};

} // namespace bmhost
