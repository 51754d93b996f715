// Reads a JSON object key by key; whatever is wrong with it is reported with the file and the whole path of the key.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace BLADESIM {

/// One object of a file. The getters throw a BLADE_ERROR when the key is missing or its value is no good.
class JSON_OBJECT {
public:
    /// `a_Value` must outlive the object; `a_Path` is empty for the whole file.
    JSON_OBJECT(std::string a_File, std::string a_Path, const nlohmann::json& a_Value);

    bool Has(const char* a_Key) const;
    /// A number, or a text with a number in C notation ("0x20").
    int64_t Integer(const char* a_Key, int64_t a_Min, int64_t a_Max);
    /// UTF-8 as the file has it.
    std::string Text(const char* a_Key);
    JSON_OBJECT Object(const char* a_Key);
    std::vector<JSON_OBJECT> Objects(const char* a_Key);
    /// Reports a key that nobody asked for: a misspelt one, most likely.
    void RejectOthers() const;

    [[noreturn]] void Fail(const char* a_Key, const std::string& a_Reason) const;

private:
    const nlohmann::json& Get(const char* a_Key);
    std::string PathOf(const std::string& a_Key) const;

    std::string m_File;
    std::string m_Path;
    const nlohmann::json& m_Value;
    std::set<std::string> m_Asked;
};

/// Reads and parses a file; a syntax error is reported with its line.
nlohmann::json ReadJsonFile(const std::string& a_File);

} // namespace BLADESIM
