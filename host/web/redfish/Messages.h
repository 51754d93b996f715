// The messages of the registries that this service uses, and answers made of them.
#pragma once

#include <nlohmann/json.hpp>

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bmhost {

/// An answer, free of how it is carried. HEAD gets what GET does; who carries it leaves out the body.
struct RedfishAnswer {
    unsigned m_status = 200;
    std::string m_body; ///< empty: none, and no content type
    std::string m_contentType = "application/json; charset=utf-8";
    std::vector<std::pair<std::string, std::string>> m_headers{}; ///< OData-Version and Cache-Control included

    /// The header of this name; empty when there is none.
    std::string_view Header(std::string_view name) const;
};

/// A row of the table of messages.
struct MessageKind {
    std::string_view m_registry; ///< "Base.1.22"
    std::string_view m_key;      ///< "PropertyUnknown"
    std::string_view m_text;     ///< with %1, %2 …
    std::string_view m_severity; ///< "OK", "Warning", "Critical"
    std::string_view m_resolution;
};

std::span<const MessageKind> MessageKinds();
/// Throws std::logic_error for a key that the table does not have.
const MessageKind& MessageOf(std::string_view key);
/// How many arguments the message has.
std::size_t ArgumentsOf(const MessageKind& kind);

/// A message with its arguments filled in. A key is in one registry only.
struct ExtendedInfo {
    std::string_view m_key;
    std::vector<std::string> m_arguments{};
    std::string m_property{}; ///< the one to blame, as "/IPv4StaticAddresses/0"; empty: none
};

/// MessageId, Message, MessageArgs, MessageSeverity, Resolution, and RelatedProperties where there is one.
nlohmann::ordered_json MessageJson(const ExtendedInfo& info);

/// The JSON on a line, all control characters escaped, with the headers of every answer.
RedfishAnswer JsonAnswer(unsigned status, const nlohmann::ordered_json& body);
/// 204.
RedfishAnswer EmptyAnswer(unsigned status = 204);
/// `error` with its extended information: the first one gives code and message.
RedfishAnswer ErrorAnswer(unsigned status, const std::vector<ExtendedInfo>& infos);

/// Nobody is logged in, or not as somebody known: 401 with WWW-Authenticate.
RedfishAnswer UnauthorizedAnswer();
/// 403.
RedfishAnswer ForbiddenAnswer();
/// The host has not answered yet, or cannot now: 503 with Retry-After.
RedfishAnswer UnavailableAnswer(unsigned seconds = 5);
/// 404.
RedfishAnswer MissingAnswer(const std::string& uri);
/// 405 with Allow.
RedfishAnswer NotAllowedAnswer(const std::string& allow);

} // namespace bmhost
