// What GET and HEAD are answered, with all rules of the protocol that need no connection.
#include "host/web/redfish/Reading.h"

#include "host/web/redfish/Places.h"
#include "host/web/redfish/Schemas.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

/// What moves by itself: a client that sends an ETag back would never match it.
constexpr std::string_view Clocks[] = {"DateTime", "ReadTime", "AgeMilliseconds"};

ordered_json WithoutClocks(const ordered_json& value) {
    if (!value.is_structured()) return value;
    ordered_json rest = value.is_array() ? ordered_json::array() : ordered_json::object();
    for (const auto& [name, member] : value.items()) {
        if (value.is_array()) {
            rest.push_back(WithoutClocks(member));
        } else if (std::ranges::find(Clocks, name) == std::end(Clocks)) {
            rest[name] = WithoutClocks(member);
        }
    }
    return rest;
}

// FNV-1a.
uint64_t HashOf(std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325U;
    for (const char next : text) {
        hash ^= static_cast<unsigned char>(next);
        hash *= 0x100000001b3U;
    }
    return hash;
}

RedfishAnswer NotModified(const std::string& etag) {
    RedfishAnswer answer = EmptyAnswer(304);
    answer.m_headers.emplace_back("ETag", etag);
    return answer;
}

void PutDescription(RedfishAnswer& answer, const TreeNode& node) {
    if (node.m_schema.empty()) return;
    answer.m_headers.emplace_back("Link", "<" + DescriptionUri(node.m_schema) + ">; rel=describedby");
}

RedfishAnswer AnswerOf(const FoundNode& found, const RedfishRequest& request) {
    const TreeNode& node = *found.m_node;
    if (node.m_make == nullptr) return node.m_answer(found.m_wanted).value_or(MissingAnswer(request.m_path));
    const Resource resource = node.m_make(found.m_wanted);
    if (!resource) return MissingAnswer(request.m_path);
    const std::string etag = EtagOf(*resource);
    if (NamesEtag(request.m_ifNoneMatch, etag)) return NotModified(etag);
    if (!request.m_ifMatch.empty() && !NamesEtag(request.m_ifMatch, etag))
        return ErrorAnswer(412, {{"PreconditionFailed"}});
    RedfishAnswer answer = JsonAnswer(200, *resource);
    answer.m_headers.emplace_back("ETag", etag);
    return answer;
}

} // namespace

std::string EtagOf(const ordered_json& resource) {
    const std::string text = WithoutClocks(resource).dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    std::array<char, 2 * sizeof(uint64_t) + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(HashOf(text)));
    return "\"" + std::string(digits.data()) + "\"";
}

bool NamesEtag(std::string_view list, std::string_view etag) {
    while (!list.empty()) {
        std::string_view one = list.substr(0, list.find(','));
        list.remove_prefix(std::min(one.size() + 1, list.size()));
        while (one.starts_with(' '))
            one.remove_prefix(1);
        while (one.ends_with(' '))
            one.remove_suffix(1);
        if (one == "*" || one == etag) return true;
    }
    return false;
}

std::optional<RedfishAnswer> ComplaintOf(const RedfishRequest& request) {
    if (!request.m_odataVersion.empty() && request.m_odataVersion != "4.0")
        return ErrorAnswer(412, {{"PreconditionFailed"}});
    // No query of the protocol is offered; other parameters are ignored.
    for (const auto& [name, value] : request.m_query) {
        if (name.starts_with('$')) return ErrorAnswer(501, {{"QueryNotSupported"}});
    }
    return std::nullopt;
}

RedfishAnswer Read(const TreeFacts& facts, const RedfishRequest& request) {
    if (auto complaint = ComplaintOf(request)) return *complaint;
    const FoundNode found = FindNode(facts, request.m_path);
    if (found.m_node == nullptr) return MissingAnswer(request.m_path);
    if (IsOfBlade(*found.m_node) && !IsBladeKnown(facts)) return UnavailableAnswer();
    const std::string allow = AllowOf(found);
    if (found.m_node->m_make == nullptr && found.m_node->m_answer == nullptr)
        return IsThere(found) ? NotAllowedAnswer(allow) : MissingAnswer(request.m_path);
    RedfishAnswer answer = AnswerOf(found, request);
    if (answer.m_status == 404) return answer;
    answer.m_headers.emplace_back("Allow", allow);
    PutDescription(answer, *found.m_node);
    return answer;
}

} // namespace bmhost
