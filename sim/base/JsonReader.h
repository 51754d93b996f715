// Reads a JSON object key by key; whatever is wrong with it is reported with the file, the line and the whole path of
// the key.
#pragma once

#include "sim/base/JsonFile.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace BLADESIM {

/// One object of a file. The getters throw a BLADE_ERROR when the key is missing or its value is no good.
class JSON_OBJECT {
public:
    /// The whole file; it must outlive the object.
    explicit JSON_OBJECT(const JSON_FILE& a_File);

    bool Has(const std::string& a_Key) const;
    bool HasList(const std::string& a_Key) const;
    /// A number, or a text with a number in C notation ("0x20").
    int64_t Integer(const std::string& a_Key, int64_t a_Min, int64_t a_Max);
    int64_t Integer(const std::string& a_Key, int64_t a_Min, int64_t a_Max, int64_t a_Default);
    /// A number from 0 to 255.
    uint8_t Byte(const std::string& a_Key);
    /// A number from `a_Min` to 2147483647.
    unsigned Count(const std::string& a_Key, unsigned a_Min, unsigned a_Default);
    bool Boolean(const std::string& a_Key, bool a_Default);
    /// UTF-8 as the file has it.
    std::string Text(const std::string& a_Key);
    std::vector<std::string> Texts(const std::string& a_Key);
    JSON_OBJECT Object(const std::string& a_Key);
    std::vector<JSON_OBJECT> Objects(const std::string& a_Key);
    /// Reports a key that nobody asked for: a misspelt one, most likely.
    void RejectOthers(const std::string& a_Reason = "nothing is known by this name") const;

    [[noreturn]] void Fail(const std::string& a_Key, const std::string& a_Reason) const;

private:
    JSON_OBJECT(const JSON_FILE& a_File, std::string a_Path, const nlohmann::json& a_Value);

    const nlohmann::json& Get(const std::string& a_Key);
    const nlohmann::json& GetList(const std::string& a_Key);
    [[noreturn]] void FailAt(const std::string& a_Path, const std::string& a_Reason) const;
    std::string TextOf(const std::string& a_Path, const nlohmann::json& a_Value) const;

    const JSON_FILE& m_File;
    std::string m_Path;
    const nlohmann::json& m_Value;
    std::set<std::string> m_Asked;
};

} // namespace BLADESIM
