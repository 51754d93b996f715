// Faults in orders: as JSON with the keys of the blade file, and as words of a command line.
#include "sim/driver/FaultText.h"

#include "sim/base/Error.h"
#include "sim/blade/FaultKinds.h"
#include "sim/blade/FaultReader.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace bladesim {
namespace {

using nlohmann::json;

std::string HexByte(uint8_t byte) {
    char text[3];
    std::snprintf(text, sizeof(text), "%02x", byte);
    return text;
}

const FaultKindText& TextOf(FaultKind kind) {
    return *std::find_if(std::begin(FaultKinds), std::end(FaultKinds),
                         [=](const FaultKindText& text) { return text.m_kind == kind; });
}

std::string PatternText(const std::vector<std::optional<uint8_t>>& pattern) {
    std::string text;
    for (const auto& byte : pattern)
        text += (text.empty() ? "" : " ") + (byte ? HexByte(*byte) : "??");
    return text;
}

} // namespace

std::string HexText(const std::vector<uint8_t>& bytes) {
    return PatternText({bytes.begin(), bytes.end()});
}

const char* FaultKindName(FaultKind kind) {
    return TextOf(kind).m_name;
}

Fault FaultFromJson(const json& fault) {
    // The reader's messages begin with file and line; an order has neither.
    constexpr std::string_view place = "fault:1: ";
    const JsonFile file{"fault", fault, {{"", 1}}};
    try {
        return ReadFault(JsonObject(file));
    } catch (const BladeError& error) {
        const std::string_view reason = error.what();
        throw BladeError(std::string(reason.substr(reason.starts_with(place) ? place.size() : 0)));
    }
}

json FaultToJson(const Fault& fault) {
    const FaultKindText& kind = TextOf(fault.m_kind);
    json result = {{"request", PatternText(fault.m_request)},
                   {"first", fault.m_first},
                   {"count", fault.m_count},
                   {"do", kind.m_name}};
    if (kind.m_maxArgument) result["argument"] = fault.m_argument;
    if (fault.m_kind == FaultKind::Reply) result["reply"] = HexText(fault.m_reply);
    return result;
}

json FaultToJson(const OrderedFault& fault) {
    json result = FaultToJson(fault.m_fault);
    result["number"] = fault.m_number;
    result["seen"] = fault.m_seen;
    result["hits"] = fault.m_hits;
    return result;
}

void AddFaultWords(json& fault, const std::vector<std::string>& words) {
    fault["do"] = words.at(0);
    std::string rest;
    for (size_t index = 1; index < words.size(); ++index)
        rest += (rest.empty() ? "" : " ") + words[index];
    if (!rest.empty()) fault[words[0] == TextOf(FaultKind::Reply).m_name ? "reply" : "argument"] = rest;
}

} // namespace bladesim
