// Every path that the socket serves, in one table.
#include "host/api/Routes.h"

#include "host/api/Asks.h"
#include "host/api/Looks.h"

#include <algorithm>
#include <optional>

namespace bmhost {

namespace {

// The parts between slashes; a blank separates the words of a list likewise.
std::vector<std::string_view> PartsOf(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const auto end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

std::optional<std::vector<std::string>> Match(std::string_view pattern, std::string_view path) {
    const auto wanted = PartsOf(pattern, '/');
    const auto given = PartsOf(path, '/');
    if (wanted.size() != given.size()) return std::nullopt;
    std::vector<std::string> captured;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        if (wanted[i].starts_with('{')) {
            captured.emplace_back(given[i]);
        } else if (wanted[i] != given[i]) {
            return std::nullopt;
        }
    }
    return captured;
}

void CheckQuery(const Route& route, const Request& request) {
    const auto known = PartsOf(route.m_query, ' ');
    for (const auto& [name, value] : request.m_query) {
        if (!name.empty() && std::find(known.begin(), known.end(), name) != known.end()) continue;
        throw Refusal(400, name,
                      "no such parameter: expected " +
                          (route.m_query.empty() ? std::string("none") : std::string(route.m_query)));
    }
}

bool Serves(const Route& route, std::string_view method) {
    return route.m_method == method || (route.m_method == "GET" && method == "HEAD");
}

} // namespace

std::span<const Route> Routes() {
    static constexpr Route routes[] = {
        {"GET", "/v1", "", Body::None, LookAtRoot, "Version and links"},
        {"GET", "/v1/blade", "", Body::None, LookAtBlade, "The whole picture of the blade"},
        {"GET", "/v1/blade/{part}", "", Body::None, LookAtPart, "One part of the picture"},
        {"GET", "/v1/blade/leds/{bay}/{led}", "", Body::None, LookAtLed, "One LED"},
        {"GET", "/v1/blade/modules/{bay}", "", Body::None, LookAtModule, "One module"},
        {"GET", "/v1/blade/dsps/{number}", "", Body::None, LookAtDsp, "One DSP"},
        {"GET", "/v1/blade/ports/{port}", "", Body::None, LookAtPort, "One port of the switch"},
        {"POST", "/v1/calls", "", Body::Json, AskCall, "A call of the adaptor"},
        {"POST", "/v1/orders/{order}", "", Body::Json, AskOrder, "An order"},
        {"POST", "/v1/firmware", "target bay name dry_run simulated", Body::Image, AskFirmware, "A firmware upgrade"},
        {"GET", "/v1/events", "after", Body::None, FollowEvents, "What happens, as Server-Sent Events"},
        {"GET", "/v1/statistics", "", Body::None, LookAtStatistics, "What the host has counted"},
        {"GET", "/v1/log", "lines", Body::None, LookAtLog, "The last lines of the log"},
        {"GET", "/v1/openapi.json", "", Body::None, LookAtDocument, "This document"},
    };
    return routes;
}

const Route& FindRoute(Request& request) {
    std::string allowed;
    for (const Route& route : Routes()) {
        auto captured = Match(route.m_path, request.m_path);
        if (!captured) continue;
        if (Serves(route, request.m_method)) {
            CheckQuery(route, request);
            request.m_captured = std::move(*captured);
            return route;
        }
        allowed = route.m_method == "GET" ? "GET, HEAD" : std::string(route.m_method);
    }
    if (allowed.empty()) throw Refusal(404, request.m_path, "no such path: GET /v1 lists them");
    throw Refusal(405, request.m_method, "this path serves " + allowed, {{"Allow", allowed}});
}

} // namespace bmhost
