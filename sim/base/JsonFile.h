// Reads a JSON file whole, remembering on which line each of its keys stands.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>

namespace BLADESIM {

struct JSON_FILE {
    std::string m_Name;
    nlohmann::json m_Root;
    /// Line of each key and list item, counted from 1, by its whole path ("frus[0].site.number"); the root's path is
    /// empty.
    std::map<std::string, unsigned> m_Lines;
};

/// Throws a BLADE_ERROR that names the file and the line: for a file that cannot be read or is larger than 1 MiB, for
/// bad syntax, for a key that stands twice in one object, for values within values within values beyond any use.
JSON_FILE ReadJsonFile(const std::string& a_File);

/// A key of an object, as paths have it.
std::string JsonPath(const std::string& a_Object, const std::string& a_Key);

/// An item of a list, as paths have it.
std::string JsonPath(const std::string& a_List, size_t a_Index);

} // namespace BLADESIM
