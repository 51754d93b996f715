// Redfish's words for what the server and the door refuse.
#include "host/web/serve/RedfishErrors.h"

#include "host/web/redfish/Places.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace bmhost {

namespace {

RedfishAnswer Refused(unsigned status, std::string_view key, const Refusal& refusal) {
    return ErrorAnswer(status, std::vector<ExtendedInfo>{{key}, {"Refused", {CharactersOf(refusal.what())}}});
}

RedfishAnswer WordsFor(const Request& request, const Refusal& refusal) {
    switch (refusal.m_status) {
    case 401:
        return UnauthorizedAnswer();
    case 403:
        return Refused(403, "InsufficientPrivilege", refusal);
    case 404:
        return MissingAnswer(CharactersOf(request.m_path));
    case 405:
        return OneError(405, {"OperationNotAllowed"});
    case 413:
        return OneError(413, {"PayloadTooLarge"});
    case 415:
        return Refused(415, "UnrecognizedRequestBody", refusal);
    case 503:
        return UnavailableAnswer();
    case 507:
        return OneError(507, {"InsufficientStorage"});
    default:
        break;
    }
    return refusal.m_status >= 500 ? Refused(refusal.m_status, "InternalError", refusal)
                                   : OneError(refusal.m_status, {"Refused", {CharactersOf(refusal.what())}});
}

} // namespace

RedfishAnswer OneError(unsigned status, const ExtendedInfo& info) {
    return ErrorAnswer(status, std::vector<ExtendedInfo>{info});
}

RedfishAnswer AnswerOf(const Request& request, const Refusal& refusal) {
    RedfishAnswer answer = WordsFor(request, refusal);
    for (const auto& header : refusal.m_headers) {
        std::erase_if(answer.m_headers, [&](const auto& own) { return own.first == header.first; });
        answer.m_headers.push_back(header);
    }
    return answer;
}

Reply ReplyOf(RedfishAnswer answer) {
    Reply reply;
    reply.m_status = answer.m_status;
    reply.m_headers = std::move(answer.m_headers);
    reply.m_contentType = std::move(answer.m_contentType);
    if (!answer.m_body.empty()) reply.m_body = std::make_shared<const std::string>(std::move(answer.m_body));
    return reply;
}

} // namespace bmhost
