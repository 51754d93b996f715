// Reads a JSON object key by key and reports errors with the file, the line and the whole path of the key.
#pragma once

#include "sim/base/JsonFile.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace bladesim {

/// One object of a file. The getters throw a BladeError when the key is missing or its value is wrong.
class JsonObject {
public:
    /// The whole file; it must outlive the object.
    explicit JsonObject(const JsonFile& file);

    bool Has(const std::string& key) const;
    bool HasList(const std::string& key) const;
    /// A number, or a text with a number in C notation ("0x20").
    int64_t Integer(const std::string& key, int64_t min, int64_t max);
    int64_t Integer(const std::string& key, int64_t min, int64_t max, int64_t fallback);
    /// A number from 0 to 255.
    uint8_t Byte(const std::string& key);
    /// A number from `min` to 2147483647.
    unsigned Count(const std::string& key, unsigned min, unsigned fallback);
    bool Boolean(const std::string& key, bool fallback);
    /// UTF-8, as in the file.
    std::string Text(const std::string& key);
    std::vector<std::string> Texts(const std::string& key);
    JsonObject Object(const std::string& key);
    std::vector<JsonObject> Objects(const std::string& key);
    /// Reports a key that was never read, most likely a misspelt one.
    void RejectOthers(const std::string& reason = "nothing is known by this name") const;

    [[noreturn]] void Fail(const std::string& key, const std::string& reason) const;

private:
    JsonObject(const JsonFile& file, std::string path, const nlohmann::json& value);

    const nlohmann::json& Get(const std::string& key);
    const nlohmann::json& GetList(const std::string& key);
    [[noreturn]] void FailAt(const std::string& path, const std::string& reason) const;
    std::string TextOf(const std::string& path, const nlohmann::json& value) const;

    const JsonFile& m_file;
    std::string m_path;
    const nlohmann::json& m_value;
    std::set<std::string> m_asked;
};

} // namespace bladesim
