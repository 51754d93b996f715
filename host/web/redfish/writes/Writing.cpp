// What a request to change something comes to: an order, or why there is none.
#include "host/web/redfish/writes/Writing.h"

#include "host/web/redfish/Places.h"

#include <algorithm>
#include <span>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr std::size_t LongestInMessage = 200;
constexpr int MostNested = 16; // what the library does with deeper ones takes stack for each level

// A text that the body has to have; the first thing that is wrong goes to the complaints.
std::string NeededText(const ordered_json& body, const char* name, std::vector<ExtendedInfo>& complaints) {
    const auto found = body.find(name);
    const std::string pointer = std::string("/") + name;
    if (found == body.end()) {
        complaints.push_back({"PropertyMissing", {name}, pointer});
    } else if (!found->is_string()) {
        complaints.push_back({"PropertyValueTypeError", {ValueInMessage(*found), name}, pointer});
    } else {
        return found->get<std::string>();
    }
    return "";
}

Wish WishToLogIn(const FoundNode&, const RedfishRequest& request) {
    const auto parsed = ObjectOf(request.m_body);
    if (const auto* const answer = std::get_if<RedfishAnswer>(&parsed)) return *answer;
    const auto& body = std::get<ordered_json>(parsed);
    std::vector<ExtendedInfo> complaints;
    LoginWish wish{NeededText(body, "UserName", complaints), NeededText(body, "Password", complaints)};
    for (const auto& [name, value] : body.items()) {
        if (name != "UserName" && name != "Password" && name.find('@') == std::string::npos)
            complaints.push_back({"PropertyUnknown", {name}, "/" + name});
    }
    if (!complaints.empty()) return ErrorAnswer(400, complaints);
    return wish;
}

Wish WishToLogOut(const FoundNode& found, const RedfishRequest&) {
    return LogoutWish{found.m_wanted.m_ids.at(0)};
}

Wish WishToEndStream(const FoundNode& found, const RedfishRequest&) {
    return StreamEndWish{found.m_wanted.m_ids.at(0)};
}

Wish WishToUpload(const FoundNode&, const RedfishRequest&) {
    return UploadWish{};
}

// What is not as the client has seen it stays as it is.
bool IsOutdated(const FoundNode& found, const RedfishRequest& request) {
    if (found.m_node->m_make == nullptr || request.m_method == "POST") return false;
    const Resource resource = found.m_node->m_make(found.m_wanted);
    const std::string etag = resource ? EtagOf(*resource) : "";
    return (!request.m_ifMatch.empty() && !NamesEtag(request.m_ifMatch, etag)) ||
           NamesEtag(request.m_ifNoneMatch, etag);
}

constexpr Writer Writers[] = {
    {"/redfish/v1/Chassis/{}/Actions/Chassis.Reset", WishToReset},
    {"/redfish/v1/Chassis/{}/Actions/Oem/Bmhost.SetLed", WishToSetLed},
    {"/redfish/v1/Systems/Media/EthernetInterfaces/{}", WishToPatch},
    {"/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/{}", WishToPatch},
    {UploadUri, WishToUpload},
    {"/redfish/v1/EventService/Actions/EventService.SubmitTestEvent", WishToTestEvents},
    {"/redfish/v1/EventService/Subscriptions/{}", WishToEndStream},
    {SessionsUri, WishToLogIn},
    {"/redfish/v1/SessionService/Sessions/Members", WishToLogIn},
    {"/redfish/v1/SessionService/Sessions/{}", WishToLogOut},
};

} // namespace

std::variant<ordered_json, RedfishAnswer> ObjectOf(const std::string& body) {
    bool deep = false;
    const auto check = [&deep](int depth, ordered_json::parse_event_t, const ordered_json&) {
        deep = deep || depth > MostNested;
        return !deep;
    };
    ordered_json parsed = ordered_json::parse(body, check, false);
    if (deep || parsed.is_discarded()) return ErrorAnswer(400, {{"MalformedJSON"}});
    if (!parsed.is_object()) return ErrorAnswer(400, {{"UnrecognizedRequestBody"}});
    return parsed;
}

std::string ValueInMessage(const ordered_json& value) {
    std::string text = value.is_string() ? value.get<std::string>()
                                         : value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    if (text.size() <= LongestInMessage) return text;
    text.resize(LongestInMessage);
    return text + "…";
}

Wish WishOf(const TreeFacts& facts, const RedfishRequest& request) {
    if (const auto complaint = ComplaintOf(request)) return *complaint;
    const FoundNode found = FindNode(facts, request.m_path);
    if (found.m_node == nullptr) return MissingAnswer(request.m_path);
    if (IsOfBlade(*found.m_node) && !IsBladeKnown(facts)) return UnavailableAnswer();
    if (!IsThere(found)) return MissingAnswer(request.m_path);
    const std::string allow = AllowOf(found);
    const bool taken = request.m_method == found.m_node->m_writes && allow.ends_with(request.m_method);
    const auto* const writer = std::ranges::find(Writers, found.m_node->m_pattern, &Writer::m_pattern);
    if (!taken || writer == std::end(Writers)) return NotAllowedAnswer(allow);
    if (IsOutdated(found, request)) return ErrorAnswer(412, {{"PreconditionFailed"}});
    return writer->m_wish(found, request);
}

} // namespace bmhost
