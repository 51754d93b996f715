// Reads a JSON object key by key; whatever is wrong with it is reported with the file and the whole path of the key.
#include "sim/JsonReader.h"

#include "sim/Error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace BLADESIM {
namespace {

std::optional<int64_t> NumberIn(const std::string& a_Text) {
    const bool l_Hex = a_Text.starts_with("0x") || a_Text.starts_with("0X");
    const char* const l_Begin = a_Text.data() + (l_Hex ? 2 : 0);
    const char* const l_End = a_Text.data() + a_Text.size();
    int64_t l_Number = 0;
    const auto l_Result = std::from_chars(l_Begin, l_End, l_Number, l_Hex ? 16 : 10);
    if (l_Result.ec != std::errc() || l_Result.ptr != l_End) return std::nullopt;
    return l_Number;
}

std::optional<int64_t> NumberOf(const nlohmann::json& a_Value) {
    if (a_Value.is_number_unsigned() && a_Value.get<uint64_t>() > INT64_MAX) return std::nullopt;
    if (a_Value.is_number_integer()) return a_Value.get<int64_t>();
    if (a_Value.is_string()) return NumberIn(a_Value.get<std::string>());
    return std::nullopt;
}

} // namespace

JSON_OBJECT::JSON_OBJECT(std::string a_File, std::string a_Path, const nlohmann::json& a_Value)
    : m_File(std::move(a_File)),
      m_Path(std::move(a_Path)),
      m_Value(a_Value) {
    if (!m_Value.is_object()) {
        throw BLADE_ERROR(m_File + ": " + (m_Path.empty() ? "" : m_Path + ": ") + "expected an object {…}, found " +
                          m_Value.dump());
    }
}

std::string JSON_OBJECT::PathOf(const std::string& a_Key) const {
    return m_Path.empty() ? a_Key : m_Path + "." + a_Key;
}

void JSON_OBJECT::Fail(const char* a_Key, const std::string& a_Reason) const {
    throw BLADE_ERROR(m_File + ": " + PathOf(a_Key) + ": " + a_Reason);
}

bool JSON_OBJECT::Has(const char* a_Key) const {
    return m_Value.contains(a_Key);
}

const nlohmann::json& JSON_OBJECT::Get(const char* a_Key) {
    m_Asked.insert(a_Key);
    const auto l_Found = m_Value.find(a_Key);
    if (l_Found == m_Value.end()) Fail(a_Key, "is missing");
    return *l_Found;
}

int64_t JSON_OBJECT::Integer(const char* a_Key, int64_t a_Min, int64_t a_Max) {
    const auto& l_Value = Get(a_Key);
    const auto l_Number = NumberOf(l_Value);
    if (!l_Number || *l_Number < a_Min || *l_Number > a_Max) {
        Fail(a_Key, "expected a number from " + std::to_string(a_Min) + " to " + std::to_string(a_Max) +
                        " (hexadecimal as a text, \"0x20\"), found " + l_Value.dump());
    }
    return *l_Number;
}

std::string JSON_OBJECT::Text(const char* a_Key) {
    const auto& l_Value = Get(a_Key);
    if (!l_Value.is_string()) Fail(a_Key, "expected a text, found " + l_Value.dump());
    return l_Value.get<std::string>();
}

JSON_OBJECT JSON_OBJECT::Object(const char* a_Key) {
    return {m_File, PathOf(a_Key), Get(a_Key)};
}

std::vector<JSON_OBJECT> JSON_OBJECT::Objects(const char* a_Key) {
    const auto& l_Value = Get(a_Key);
    if (!l_Value.is_array()) Fail(a_Key, "expected a list […], found " + l_Value.dump());
    std::vector<JSON_OBJECT> l_Objects;
    for (const auto& l_Item : l_Value) {
        l_Objects.emplace_back(m_File, PathOf(a_Key) + "[" + std::to_string(l_Objects.size()) + "]", l_Item);
    }
    return l_Objects;
}

void JSON_OBJECT::RejectOthers() const {
    for (const auto& l_Item : m_Value.items()) {
        if (!m_Asked.contains(l_Item.key())) Fail(l_Item.key().c_str(), "nothing is known by this name");
    }
}

nlohmann::json ReadJsonFile(const std::string& a_File) {
    std::ifstream l_Stream(a_File, std::ios::binary);
    if (!l_Stream) ThrowErrno(a_File + ": cannot be read");
    const std::string l_Text{std::istreambuf_iterator<char>(l_Stream), {}};
    if (l_Stream.bad() || l_Text.empty()) throw BLADE_ERROR(a_File + ": there is nothing in it to read");
    try {
        return nlohmann::json::parse(l_Text);
    } catch (const nlohmann::json::parse_error& l_Error) {
        const auto l_Bytes = std::min(l_Error.byte == 0 ? 0 : l_Error.byte - 1, l_Text.size());
        const auto l_Line = 1 + std::count(l_Text.begin(), l_Text.begin() + static_cast<ptrdiff_t>(l_Bytes), '\n');
        const std::string l_What = l_Error.what();
        const auto l_Reason = l_What.find(": ");
        throw BLADE_ERROR(a_File + ":" + std::to_string(l_Line) + ": " +
                          (l_Reason == std::string::npos ? l_What : l_What.substr(l_Reason + 2)));
    }
}

} // namespace BLADESIM
