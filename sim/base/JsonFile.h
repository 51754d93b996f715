// Reads a whole JSON file and remembers the line of each of its keys.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>

namespace bladesim {

struct JsonFile {
    std::string m_name;
    nlohmann::json m_root;
    /// Line of each key and list item, counted from 1, by its whole path ("frus[0].site.number"); the root's path is
    /// empty.
    std::map<std::string, unsigned> m_lines;
};

/// Throws a BladeError with file and line when the file cannot be read, is larger than 1 MiB, is not JSON, has a key
/// twice in one object, or is nested too deeply.
JsonFile ReadJsonFile(const std::string& file);

/// The path of a key in an object.
std::string JsonPath(const std::string& object, const std::string& key);

/// The path of an item in a list.
std::string JsonPath(const std::string& list, size_t index);

} // namespace bladesim
