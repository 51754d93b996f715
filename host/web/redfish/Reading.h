// What GET and HEAD are answered, with all rules of the protocol that need no connection.
#pragma once

#include "host/web/redfish/Resources.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bmhost {

/// A request, free of how it is carried. Headers that were not sent are empty.
struct RedfishRequest {
    std::string m_method;
    std::string m_path; ///< without the query
    std::vector<std::pair<std::string, std::string>> m_query{};
    std::string m_odataVersion{};
    std::string m_ifMatch{};
    std::string m_ifNoneMatch{};
    std::string m_body{};
};

/// Strong, quoted, over what a client sees except clocks: the same while nothing else has changed.
std::string EtagOf(const nlohmann::ordered_json& resource);
/// Whether a list of ETags, as If-Match and If-None-Match have them, names this one; "*" names all.
bool NamesEtag(std::string_view list, std::string_view etag);

/// What is wrong with any request, whatever it asks for; nothing when all is well.
std::optional<RedfishAnswer> ComplaintOf(const RedfishRequest& request);

/// GET and HEAD. The stream of events is answered by who carries it: its path is EventStreamUri.
RedfishAnswer Read(const TreeFacts& facts, const RedfishRequest& request);

} // namespace bmhost
