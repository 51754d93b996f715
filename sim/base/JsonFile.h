// Reads a JSON file whole, remembering on which line each of its keys stands.
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

/// Throws a BladeError that names the file and the line: for a file that cannot be read or is larger than 1 MiB, for
/// bad syntax, for a key that stands twice in one object, for values within values within values beyond any use.
JsonFile ReadJsonFile(const std::string& file);

/// A key of an object, as paths have it.
std::string JsonPath(const std::string& object, const std::string& key);

/// An item of a list, as paths have it.
std::string JsonPath(const std::string& list, size_t index);

} // namespace bladesim
