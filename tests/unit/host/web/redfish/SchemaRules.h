// What the published schemas demand of the resources that this tree has.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// What is wrong with a resource; nothing when all is well. Its properties, theirs and those of Oem objects have to be
/// known, of the right type, not null and not empty; what the schema or a client demands has to be there.
std::vector<std::string> BreachesOf(const nlohmann::ordered_json& resource, const std::string& uri);

struct SchemaLink {
    std::string m_uri;
    std::string m_schema; ///< of the resource that has to be there
};

/// Every link of the resource.
std::vector<SchemaLink> LinksOf(const nlohmann::ordered_json& resource);
