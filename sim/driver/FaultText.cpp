// Faults as orders have them: JSON with the keys of the blade file, and the words of a command line.
#include "sim/driver/FaultText.h"

#include "sim/base/Error.h"
#include "sim/blade/FaultKinds.h"
#include "sim/blade/FaultReader.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace BLADESIM {
namespace {

using nlohmann::json;

std::string HexByte(uint8_t a_Byte) {
    char l_Text[3];
    std::snprintf(l_Text, sizeof(l_Text), "%02x", a_Byte);
    return l_Text;
}

const FAULT_KIND_TEXT& TextOf(FAULT_KIND a_Kind) {
    return *std::find_if(std::begin(g_FaultKinds), std::end(g_FaultKinds),
                         [=](const FAULT_KIND_TEXT& a_Text) { return a_Text.m_Kind == a_Kind; });
}

std::string PatternText(const std::vector<std::optional<uint8_t>>& a_Pattern) {
    std::string l_Text;
    for (const auto& l_Byte : a_Pattern)
        l_Text += (l_Text.empty() ? "" : " ") + (l_Byte ? HexByte(*l_Byte) : "??");
    return l_Text;
}

} // namespace

std::string HexText(const std::vector<uint8_t>& a_Bytes) {
    return PatternText({a_Bytes.begin(), a_Bytes.end()});
}

const char* FaultKindName(FAULT_KIND a_Kind) {
    return TextOf(a_Kind).m_Name;
}

FAULT FaultFromJson(const json& a_Fault) {
    // The reader's messages begin with file and line, which there are none of here.
    constexpr std::string_view l_Place = "fault:1: ";
    const JSON_FILE l_File{"fault", a_Fault, {{"", 1}}};
    try {
        return ReadFault(JSON_OBJECT(l_File));
    } catch (const BLADE_ERROR& l_Error) {
        const std::string_view l_Reason = l_Error.what();
        throw BLADE_ERROR(std::string(l_Reason.substr(l_Reason.starts_with(l_Place) ? l_Place.size() : 0)));
    }
}

json FaultToJson(const FAULT& a_Fault) {
    const FAULT_KIND_TEXT& l_Kind = TextOf(a_Fault.m_Kind);
    json l_Fault = {{"request", PatternText(a_Fault.m_Request)},
                    {"first", a_Fault.m_First},
                    {"count", a_Fault.m_Count},
                    {"do", l_Kind.m_Name}};
    if (l_Kind.m_MaxArgument) l_Fault["argument"] = a_Fault.m_Argument;
    if (a_Fault.m_Kind == FAULT_KIND::REPLY) l_Fault["reply"] = HexText(a_Fault.m_Reply);
    return l_Fault;
}

json FaultToJson(const ORDERED_FAULT& a_Fault) {
    json l_Fault = FaultToJson(a_Fault.m_Fault);
    l_Fault["number"] = a_Fault.m_Number;
    l_Fault["seen"] = a_Fault.m_Seen;
    l_Fault["hits"] = a_Fault.m_Hits;
    return l_Fault;
}

void AddFaultWords(json& a_Fault, const std::vector<std::string>& a_Words) {
    a_Fault["do"] = a_Words.at(0);
    std::string l_Rest;
    for (size_t l_Index = 1; l_Index < a_Words.size(); ++l_Index)
        l_Rest += (l_Rest.empty() ? "" : " ") + a_Words[l_Index];
    if (!l_Rest.empty()) a_Fault[a_Words[0] == TextOf(FAULT_KIND::REPLY).m_Name ? "reply" : "argument"] = l_Rest;
}

} // namespace BLADESIM
