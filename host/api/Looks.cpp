// What clients read: the picture and its parts, the log, events, the document.
#include "host/api/Looks.h"

#include "common/veldo_common_protocol.h"
#include "host/api/NewsStream.h"
#include "host/api/Routes.h"
#include "host/picture/StatisticsJson.h"
#include "host/session/Rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr std::array<std::string_view, 12> BladeParts = {"source",   "host",  "inventory", "leds",
                                                         "dsps",     "ports", "health",    "controller",
                                                         "upgrades", "calls", "faults",    "status"};
constexpr uint64_t MostLogLines = 10'000;
constexpr uint64_t UsualLogLines = 100;

const PictureText& PictureNow(Api& api) {
    api.m_picture.Take(api.m_host.Now());
    return api.m_picture;
}

// A decimal number without a sign.
template <typename Number>
std::optional<Number> DecimalOf(std::string_view text) {
    Number number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || text[0] == '-' || result.ec != std::errc() || result.ptr != text.data() + text.size())
        return std::nullopt;
    return number;
}

// Whether the header has this tag, or any.
bool HasTag(std::string_view header, std::string_view tag) {
    while (!header.empty()) {
        const auto comma = header.find(',');
        std::string_view entry = header.substr(0, comma);
        header.remove_prefix(comma == std::string_view::npos ? header.size() : comma + 1);
        while (!entry.empty() && (entry.front() == ' ' || entry.front() == '\t'))
            entry.remove_prefix(1);
        while (!entry.empty() && (entry.back() == ' ' || entry.back() == '\t'))
            entry.remove_suffix(1);
        if (entry.starts_with("W/")) entry.remove_prefix(2);
        if (entry == tag || entry == "*") return true;
    }
    return false;
}

/// The row at that place of the picture's list; `isIt` knows the row by the picture's own record.
template <typename Record, typename IsIt>
Outcome RowReply(const Request& request, const std::vector<Record>& records, const ordered_json& rows,
                 const std::string& what, IsIt isIt) {
    const auto found = std::find_if(records.begin(), records.end(), isIt);
    if (found == records.end()) throw Refusal(404, request.m_path, "the picture has no such " + what);
    return JsonReply(200, rows.at(static_cast<std::size_t>(found - records.begin())));
}

// What a path's part says; nothing that is no number is the number of a row.
std::vector<int32_t> NumbersOf(const Request& request, const std::string& what) {
    std::vector<int32_t> numbers;
    for (const std::string& part : request.m_captured) {
        const auto number = DecimalOf<int32_t>(part);
        if (!number) throw Refusal(404, part, "the number of a " + what + " is expected here");
        numbers.push_back(*number);
    }
    return numbers;
}

uint64_t NumberParameter(const std::string& name, const std::string& text, uint64_t least, uint64_t most) {
    const auto number = DecimalOf<uint64_t>(text);
    if (!number || *number < least || *number > most) {
        throw Refusal(400, name + "=" + text,
                      "expected a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return *number;
}

} // namespace

Outcome LookAtRoot(Api& api, Request& /*request*/, const Answered& /*answered*/) {
    ordered_json links;
    for (const Route& route : Routes())
        links.push_back({{"method", route.m_method}, {"path", route.m_path}, {"summary", route.m_summary}});
    return JsonReply(200, {{"api", "v1"}, {"version", api.m_host.Now()->m_host.m_version}, {"links", links}});
}

Outcome LookAtBlade(Api& api, Request& request, const Answered& /*answered*/) {
    const PictureText& picture = PictureNow(api);
    Reply reply;
    reply.m_headers = {{"ETag", picture.Tag()}, {"Cache-Control", "no-cache"}};
    if (HasTag(request.Header("If-None-Match"), picture.Tag())) {
        reply.m_status = 304;
    } else {
        reply.m_body = picture.Text();
    }
    return reply;
}

Outcome LookAtPart(Api& api, Request& request, const Answered& /*answered*/) {
    const std::string& part = request.m_captured.at(0);
    if (std::find(BladeParts.begin(), BladeParts.end(), part) == BladeParts.end()) {
        std::string known;
        for (const std::string_view word : BladeParts)
            known += (known.empty() ? "" : ", ") + std::string(word);
        throw Refusal(404, part, "no such part: the parts are " + known);
    }
    return JsonReply(200, PictureNow(api).Json().at(part));
}

Outcome LookAtLed(Api& api, Request& request, const Answered& /*answered*/) {
    const auto place = NumbersOf(request, "bay (0: baseboard) and of a LED");
    const PictureText& picture = PictureNow(api);
    return RowReply(request, picture.Of().m_leds, picture.Json().at("leds"), "LED",
                    [&](const LedReading& led) { return led.m_bay == place.at(0) && led.m_led == place.at(1); });
}

Outcome LookAtModule(Api& api, Request& request, const Answered& /*answered*/) {
    const auto bay = NumbersOf(request, "bay");
    const PictureText& picture = PictureNow(api);
    return RowReply(
        request, picture.Of().m_inventory.m_modules, picture.Json().at("inventory").at("modules"), "module",
        [&](const BM_ADAPTOR::CBMIParams& row) { return IntegerOf(row, BM_ADAPTOR::BMI_HW_AMC_BAY) == bay.at(0); });
}

Outcome LookAtDsp(Api& api, Request& request, const Answered& /*answered*/) {
    const auto number = NumbersOf(request, "DSP");
    const PictureText& picture = PictureNow(api);
    return RowReply(request, picture.Of().m_dsps, picture.Json().at("dsps"), "DSP",
                    [&](const DspFacts& dsp) { return dsp.m_number == number.at(0); });
}

Outcome LookAtPort(Api& api, Request& request, const Answered& /*answered*/) {
    const auto number = NumbersOf(request, "port");
    const PictureText& picture = PictureNow(api);
    return RowReply(request, picture.Of().m_ports, picture.Json().at("ports"), "port",
                    [&](const PortFacts& port) { return port.m_port == number.at(0); });
}

Outcome LookAtStatistics(Api& api, Request& /*request*/, const Answered& /*answered*/) {
    return JsonReply(200, StatisticsJson(api.m_host.Counts()));
}

Outcome LookAtLog(Api& api, Request& request, const Answered& /*answered*/) {
    uint64_t most = UsualLogLines;
    if (const auto lines = request.m_query.find("lines"); lines != request.m_query.end())
        most = NumberParameter("lines", lines->second, 1, MostLogLines);
    ordered_json lines = ordered_json::array();
    for (ordered_json& line : api.m_host.LogLines(static_cast<std::size_t>(most)))
        lines.push_back(std::move(line));
    return JsonReply(200, {{"lines", std::move(lines)}});
}

Outcome LookAtDocument(Api& /*api*/, Request& /*request*/, const Answered& /*answered*/) {
    static const auto document = std::make_shared<const std::string>(OpenApiDocument());
    Reply reply;
    reply.m_body = document;
    return reply;
}

Outcome FollowEvents(Api& api, Request& request, const Answered& /*answered*/) {
    constexpr uint64_t most = std::numeric_limits<int64_t>::max();
    std::optional<uint64_t> from;
    // A reader that reconnects sends the header, and its address still has the parameter of its beginning.
    if (const auto last = request.Header("Last-Event-ID"); !last.empty()) {
        from = NumberParameter("Last-Event-ID", std::string(last), 0, most);
    } else if (const auto after = request.m_query.find("after"); after != request.m_query.end()) {
        from = NumberParameter("after", after->second, 0, most);
    }
    return Streams{std::make_unique<NewsStream>(api.m_host, from, api.m_limits.m_commentTime)};
}

} // namespace bmhost
