// Reads a JSON object key by key; whatever is wrong with it is reported with the file, the line and the whole path of
// the key.
#include "sim/base/JsonReader.h"

#include "sim/base/Error.h"

#include <charconv>
#include <limits>
#include <optional>
#include <utility>

namespace BLADESIM {
namespace {

using nlohmann::json;

std::optional<int64_t> NumberIn(const std::string& a_Text) {
    const bool l_Hex = a_Text.starts_with("0x") || a_Text.starts_with("0X");
    const char* const l_Begin = a_Text.data() + (l_Hex ? 2 : 0);
    const char* const l_End = a_Text.data() + a_Text.size();
    if (l_Hex && a_Text.size() > 2 && *l_Begin == '-') return std::nullopt;
    int64_t l_Number = 0;
    const auto l_Result = std::from_chars(l_Begin, l_End, l_Number, l_Hex ? 16 : 10);
    if (l_Result.ec != std::errc() || l_Result.ptr != l_End) return std::nullopt;
    return l_Number;
}

std::optional<int64_t> NumberOf(const json& a_Value) {
    if (a_Value.is_number_unsigned() && a_Value.get<uint64_t>() > INT64_MAX) return std::nullopt;
    if (a_Value.is_number_integer()) return a_Value.get<int64_t>();
    if (a_Value.is_string()) return NumberIn(a_Value.get<std::string>());
    return std::nullopt;
}

/// A value for a message: the beginning of it is enough.
std::string Shown(const json& a_Value) {
    constexpr size_t l_Most = 60;
    const std::string l_Text = a_Value.dump(-1, ' ', true);
    return l_Text.size() <= l_Most ? l_Text : l_Text.substr(0, l_Most) + "…";
}

} // namespace

JSON_OBJECT::JSON_OBJECT(const JSON_FILE& a_File) : JSON_OBJECT(a_File, {}, a_File.m_Root) {}

JSON_OBJECT::JSON_OBJECT(const JSON_FILE& a_File, std::string a_Path, const json& a_Value)
    : m_File(a_File),
      m_Path(std::move(a_Path)),
      m_Value(a_Value) {
    if (!m_Value.is_object()) FailAt(m_Path, "expected an object {…}, found " + Shown(m_Value));
}

void JSON_OBJECT::FailAt(const std::string& a_Path, const std::string& a_Reason) const {
    const auto l_Found = m_File.m_Lines.find(a_Path);
    const unsigned l_Line = (l_Found != m_File.m_Lines.end() ? l_Found : m_File.m_Lines.find(m_Path))->second;
    throw BLADE_ERROR(m_File.m_Name + ":" + std::to_string(l_Line) + ": " + (a_Path.empty() ? "" : a_Path + ": ") +
                      a_Reason);
}

void JSON_OBJECT::Fail(const std::string& a_Key, const std::string& a_Reason) const {
    FailAt(JsonPath(m_Path, a_Key), a_Reason);
}

bool JSON_OBJECT::Has(const std::string& a_Key) const {
    return m_Value.contains(a_Key);
}

bool JSON_OBJECT::HasList(const std::string& a_Key) const {
    return Has(a_Key) && m_Value.at(a_Key).is_array();
}

const json& JSON_OBJECT::Get(const std::string& a_Key) {
    m_Asked.insert(a_Key);
    const auto l_Found = m_Value.find(a_Key);
    if (l_Found == m_Value.end()) Fail(a_Key, "is missing");
    return *l_Found;
}

const json& JSON_OBJECT::GetList(const std::string& a_Key) {
    const json& l_Value = Get(a_Key);
    if (!l_Value.is_array()) Fail(a_Key, "expected a list […], found " + Shown(l_Value));
    return l_Value;
}

int64_t JSON_OBJECT::Integer(const std::string& a_Key, int64_t a_Min, int64_t a_Max) {
    const json& l_Value = Get(a_Key);
    const auto l_Number = NumberOf(l_Value);
    if (!l_Number || *l_Number < a_Min || *l_Number > a_Max) {
        Fail(a_Key, "expected a number from " + std::to_string(a_Min) + " to " + std::to_string(a_Max) + ", found " +
                        Shown(l_Value));
    }
    return *l_Number;
}

int64_t JSON_OBJECT::Integer(const std::string& a_Key, int64_t a_Min, int64_t a_Max, int64_t a_Default) {
    return Has(a_Key) ? Integer(a_Key, a_Min, a_Max) : a_Default;
}

uint8_t JSON_OBJECT::Byte(const std::string& a_Key) {
    return static_cast<uint8_t>(Integer(a_Key, 0, std::numeric_limits<uint8_t>::max()));
}

unsigned JSON_OBJECT::Count(const std::string& a_Key, unsigned a_Min, unsigned a_Default) {
    return static_cast<unsigned>(Integer(a_Key, a_Min, std::numeric_limits<int32_t>::max(), a_Default));
}

bool JSON_OBJECT::Boolean(const std::string& a_Key, bool a_Default) {
    if (!Has(a_Key)) return a_Default;
    const json& l_Value = Get(a_Key);
    if (!l_Value.is_boolean()) Fail(a_Key, "expected true or false, found " + Shown(l_Value));
    return l_Value.get<bool>();
}

std::string JSON_OBJECT::TextOf(const std::string& a_Path, const json& a_Value) const {
    if (!a_Value.is_string()) FailAt(a_Path, "expected a text, found " + Shown(a_Value));
    return a_Value.get<std::string>();
}

std::string JSON_OBJECT::Text(const std::string& a_Key) {
    return TextOf(JsonPath(m_Path, a_Key), Get(a_Key));
}

std::vector<std::string> JSON_OBJECT::Texts(const std::string& a_Key) {
    std::vector<std::string> l_Texts;
    for (const json& l_Item : GetList(a_Key)) {
        l_Texts.push_back(TextOf(JsonPath(JsonPath(m_Path, a_Key), l_Texts.size()), l_Item));
    }
    return l_Texts;
}

JSON_OBJECT JSON_OBJECT::Object(const std::string& a_Key) {
    return {m_File, JsonPath(m_Path, a_Key), Get(a_Key)};
}

std::vector<JSON_OBJECT> JSON_OBJECT::Objects(const std::string& a_Key) {
    std::vector<JSON_OBJECT> l_Objects;
    for (const json& l_Item : GetList(a_Key)) {
        l_Objects.push_back({m_File, JsonPath(JsonPath(m_Path, a_Key), l_Objects.size()), l_Item});
    }
    return l_Objects;
}

void JSON_OBJECT::RejectOthers(const std::string& a_Reason) const {
    for (const auto& l_Item : m_Value.items()) {
        if (!m_Asked.contains(l_Item.key())) Fail(l_Item.key(), a_Reason);
    }
}

} // namespace BLADESIM
