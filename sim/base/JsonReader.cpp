// Reads a JSON object key by key and reports errors with the file, the line and the whole path of the key.
#include "sim/base/JsonReader.h"

#include "sim/base/Error.h"

#include <charconv>
#include <limits>
#include <optional>
#include <utility>

namespace bladesim {
namespace {

using nlohmann::json;

std::optional<int64_t> NumberIn(const std::string& text) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char* const begin = text.data() + (hex ? 2 : 0);
    const char* const end = text.data() + text.size();
    if (hex && text.size() > 2 && *begin == '-') return std::nullopt;
    int64_t number = 0;
    const auto result = std::from_chars(begin, end, number, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

std::optional<int64_t> NumberOf(const json& value) {
    if (value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX) return std::nullopt;
    if (value.is_number_integer()) return value.get<int64_t>();
    if (value.is_string()) return NumberIn(value.get<std::string>());
    return std::nullopt;
}

/// A value for an error message, cut when it is long.
std::string Shown(const json& value) {
    constexpr size_t most = 60;
    const std::string text = value.dump(-1, ' ', true);
    return text.size() <= most ? text : text.substr(0, most) + "…";
}

} // namespace

JsonObject::JsonObject(const JsonFile& file) : JsonObject(file, {}, file.m_root) {}

JsonObject::JsonObject(const JsonFile& file, std::string path, const json& value)
    : m_file(file),
      m_path(std::move(path)),
      m_value(value) {
    if (!m_value.is_object()) FailAt(m_path, "expected an object {…}, found " + Shown(m_value));
}

void JsonObject::FailAt(const std::string& path, const std::string& reason) const {
    const auto found = m_file.m_lines.find(path);
    const unsigned line = (found != m_file.m_lines.end() ? found : m_file.m_lines.find(m_path))->second;
    throw BladeError(m_file.m_name + ":" + std::to_string(line) + ": " + (path.empty() ? "" : path + ": ") + reason);
}

void JsonObject::Fail(const std::string& key, const std::string& reason) const {
    FailAt(JsonPath(m_path, key), reason);
}

bool JsonObject::Has(const std::string& key) const {
    return m_value.contains(key);
}

bool JsonObject::HasList(const std::string& key) const {
    return Has(key) && m_value.at(key).is_array();
}

const json& JsonObject::Get(const std::string& key) {
    m_asked.insert(key);
    const auto found = m_value.find(key);
    if (found == m_value.end()) Fail(key, "is missing");
    return *found;
}

const json& JsonObject::GetList(const std::string& key) {
    const json& value = Get(key);
    if (!value.is_array()) Fail(key, "expected a list […], found " + Shown(value));
    return value;
}

int64_t JsonObject::Integer(const std::string& key, int64_t min, int64_t max) {
    const json& value = Get(key);
    const auto number = NumberOf(value);
    if (!number || *number < min || *number > max) {
        Fail(key, "expected a number from " + std::to_string(min) + " to " + std::to_string(max) + ", found " +
                      Shown(value));
    }
    return *number;
}

int64_t JsonObject::Integer(const std::string& key, int64_t min, int64_t max, int64_t fallback) {
    return Has(key) ? Integer(key, min, max) : fallback;
}

uint8_t JsonObject::Byte(const std::string& key) {
    return static_cast<uint8_t>(Integer(key, 0, std::numeric_limits<uint8_t>::max()));
}

unsigned JsonObject::Count(const std::string& key, unsigned min, unsigned fallback) {
    return static_cast<unsigned>(Integer(key, min, std::numeric_limits<int32_t>::max(), fallback));
}

bool JsonObject::Boolean(const std::string& key, bool fallback) {
    if (!Has(key)) return fallback;
    const json& value = Get(key);
    if (!value.is_boolean()) Fail(key, "expected true or false, found " + Shown(value));
    return value.get<bool>();
}

std::string JsonObject::TextOf(const std::string& path, const json& value) const {
    if (!value.is_string()) FailAt(path, "expected a text, found " + Shown(value));
    return value.get<std::string>();
}

std::string JsonObject::Text(const std::string& key) {
    return TextOf(JsonPath(m_path, key), Get(key));
}

std::vector<std::string> JsonObject::Texts(const std::string& key) {
    std::vector<std::string> texts;
    for (const json& item : GetList(key)) {
        texts.push_back(TextOf(JsonPath(JsonPath(m_path, key), texts.size()), item));
    }
    return texts;
}

JsonObject JsonObject::Object(const std::string& key) {
    return {m_file, JsonPath(m_path, key), Get(key)};
}

std::vector<JsonObject> JsonObject::Objects(const std::string& key) {
    std::vector<JsonObject> objects;
    for (const json& item : GetList(key)) {
        objects.push_back({m_file, JsonPath(JsonPath(m_path, key), objects.size()), item});
    }
    return objects;
}

void JsonObject::RejectOthers(const std::string& reason) const {
    for (const auto& item : m_value.items()) {
        if (!m_asked.contains(item.key())) Fail(item.key(), reason);
    }
}

} // namespace bladesim
