// A request of a client and what it is answered, free of how both are carried.
#include "host/api/Request.h"

#include "bm_dev/ByteText.h"

namespace bmhost {

using nlohmann::ordered_json;

Reply JsonReply(unsigned status, const ordered_json& body, Headers headers) {
    // What a client sent stands in errors, so it may be anything but UTF-8.
    const std::string text = body.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    Reply reply;
    reply.m_status = status;
    reply.m_body = std::make_shared<const std::string>(bm_dev::EscapedJson(text) + "\n");
    reply.m_headers = std::move(headers);
    return reply;
}

Reply ErrorReply(const Request& request, const Refusal& refusal) {
    return JsonReply(
        refusal.m_status,
        {{"error", {{"operation", request.Operation()}, {"value", refusal.m_value}, {"reason", refusal.what()}}}},
        refusal.m_headers);
}

} // namespace bmhost
