// What a request is answered, free of how it is carried.
#include "host/http/Reply.h"

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

} // namespace bmhost
