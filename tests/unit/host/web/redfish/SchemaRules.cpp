// What the published schemas demand of the resources that this tree has.
#include "SchemaRules.h"

#include "SchemaTable.h"

#include "host/web/redfish/Schemas.h"

#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace {

using nlohmann::ordered_json;

using Properties = std::map<std::string, std::string>;

struct SchemaRule {
    Properties m_properties;
    std::set<std::string> m_required;
};

const std::map<std::string, SchemaRule>& AllRules() {
    static const std::map<std::string, SchemaRule> all = [] {
        std::map<std::string, SchemaRule> rules;
        std::istringstream lines(SchemaTable);
        std::string schema;
        std::string path;
        std::string type;
        while (lines >> schema >> path >> type) {
            if (path[0] == '!') rules[schema].m_required.insert(path = path.substr(1));
            rules[schema].m_properties[path] = type;
        }
        return rules;
    }();
    return all;
}

// Of the own types, from their file: each name is unique in it.
const std::map<std::string, Properties>& OwnTypes() {
    static const std::map<std::string, Properties> types = [] {
        std::map<std::string, Properties> found;
        const std::string csdl(bmhost::OwnCsdl());
        const std::regex element("<(ComplexType|Property|EnumType|Member) Name=\"(\\w+)\"( Type=\"([^\"]*)\")?");
        std::string type;
        for (std::sregex_iterator it(csdl.begin(), csdl.end(), element), end; it != end; ++it) {
            if ((*it)[1] == "ComplexType" || (*it)[1] == "EnumType") {
                type = (*it)[2];
            } else {
                found[type][(*it)[2]] = (*it)[4];
            }
        }
        return found;
    }();
    return types;
}

bool IsAnnotation(const std::string& name) {
    return name.find('@') != std::string::npos;
}

bool IsTime(const ordered_json& value) {
    static const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d))");
    return value.is_string() && std::regex_match(value.get<std::string>(), form);
}

bool IsText(const ordered_json& value) {
    return value.is_string() && !value.get<std::string>().empty();
}

bool IsOfType(const ordered_json& value, const std::string& type) {
    if (type == "text") return IsText(value);
    if (type == "number") return value.is_number_integer();
    if (type == "flag") return value.is_boolean();
    if (type == "time") return IsTime(value);
    if (type == "object") return value.is_object();
    if (type == "list") return value.is_array();
    if (type == "null") return value.is_null();
    if (type.starts_with("link:")) return value.is_object() && value.size() == 1 && value.contains("@odata.id");
    if (!IsText(value)) return false;
    return ("|" + type + "|").find("|" + value.get<std::string>() + "|") != std::string::npos;
}

/// Collects what is wrong, with its path.
class Checker {
public:
    Checker(const std::string& schema, const std::string& uri)
        : m_rule(AllRules().at(schema)),
          m_uri(uri),
          m_isRegistry(schema == "MessageRegistry") {}

    void Check(const ordered_json& resource) {
        Members(resource, "", "");
        for (const std::string& path : m_rule.m_required) {
            if (!resource.contains(ordered_json::json_pointer("/" + path))) Breach(path, "is missing");
        }
    }
    std::vector<std::string> m_breaches;

private:
    void Breach(const std::string& path, const std::string& what) {
        m_breaches.push_back(m_uri + ": " + path + " " + what);
    }

    void Members(const ordered_json& object, const std::string& path, const std::string& rulePath) {
        static const std::set<std::string> everywhere = {"Id", "Name", "Actions", "Oem"};
        for (const auto& [name, value] : object.items()) {
            if (IsAnnotation(name)) {
                Count(object, name, value, path);
            } else if (!path.empty() || !everywhere.contains(name)) {
                const bool pattern = m_isRegistry && rulePath == "Messages/";
                Value(value, path + name, rulePath + (pattern ? "#" : name));
            }
        }
        if (path.empty() && object.contains("Actions")) Actions(object["Actions"]);
        if (path.empty() && object.contains("Oem")) Oem(object["Oem"]);
    }

    void Count(const ordered_json& object, const std::string& name, const ordered_json& value,
               const std::string& path) {
        const auto at = name.find("@odata.count");
        if (at != std::string::npos && value != object[name.substr(0, at)].size()) Breach(path + name, "is wrong");
    }

    void Value(const ordered_json& value, const std::string& path, const std::string& rulePath) {
        const auto rule = m_rule.m_properties.find(rulePath);
        if (rule == m_rule.m_properties.end()) return Breach(path, "is not known");
        if (!IsOfType(value, rule->second)) return Breach(path, "is no " + rule->second + ": " + value.dump());
        if (rule->second.starts_with("link:")) return;
        if (value.is_object()) Members(value, path + "/", rulePath + "/");
        for (std::size_t i = 0; value.is_array() && i < value.size(); ++i)
            Value(value[i], path + "/" + std::to_string(i), rulePath + "/*");
    }

    void Actions(const ordered_json& actions) {
        for (const auto& [name, action] : actions.items()) {
            if (name == "Oem") {
                for (const auto& [ownName, own] : action.items())
                    Target(ownName, own, "/Actions/Oem/");
            } else {
                Target(name, action, "/Actions/");
            }
        }
    }
    void Target(const std::string& name, const ordered_json& action, const std::string& folder) {
        if (action.value("target", "") != m_uri + folder + name.substr(1)) Breach(name, "has another target");
        for (const auto& [member, value] : action.items()) {
            if (member != "target" && !IsAnnotation(member)) Breach(name + "/" + member, "is not known");
        }
    }

    void Oem(const ordered_json& oem) {
        for (const auto& [name, own] : oem.items()) {
            const std::string type = own.value("@odata.type", "");
            if (name != bmhost::OwnName || !type.starts_with("#Bmhost.v1_0_0."))
                return Breach("Oem/" + name, "has another type");
            Own(own, type.substr(std::string("#Bmhost.v1_0_0.").size()), "Oem/" + name + "/");
        }
    }
    void Own(const ordered_json& object, const std::string& type, const std::string& path) {
        const auto found = OwnTypes().find(type);
        if (found == OwnTypes().end()) return Breach(path, "is of the unknown type " + type);
        for (const auto& [name, value] : object.items()) {
            if (IsAnnotation(name)) continue;
            const auto property = found->second.find(name);
            if (property == found->second.end()) {
                Breach(path + name, "is not known");
            } else {
                OwnValue(value, property->second, path + name);
            }
        }
    }
    void OwnValue(const ordered_json& value, const std::string& type, const std::string& path) {
        static const std::map<std::string, std::string> types = {
            {"Edm.Int64", "number"}, {"Edm.String", "text"}, {"Edm.Boolean", "flag"}, {"Edm.DateTimeOffset", "time"}};
        static const std::string own = "Bmhost.v1_0_0.";
        if (type.starts_with("Collection(")) {
            if (!value.is_array()) return Breach(path, "is no list");
            for (const auto& item : value)
                OwnValue(item, type.substr(11, type.size() - 12), path + "/*");
        } else if (types.contains(type)) {
            if (!IsOfType(value, types.at(type))) Breach(path, "is no " + type + ": " + value.dump());
        } else if (value.is_string()) {
            const Properties& members = OwnTypes().at(type.substr(own.size()));
            if (!members.contains(value.get<std::string>())) Breach(path, "has the unknown value " + value.dump());
        } else {
            Own(value, type.substr(own.size()), path + "/");
        }
    }

    const SchemaRule& m_rule;
    std::string m_uri;
    bool m_isRegistry;
};

std::string SchemaOfResource(const ordered_json& resource) {
    const std::string type = resource.value("@odata.type", "");
    return type.substr(type.rfind('.') + 1);
}

} // namespace

std::vector<std::string> BreachesOf(const ordered_json& resource, const std::string& uri) {
    const std::string schema = SchemaOfResource(resource);
    std::vector<std::string> breaches;
    if (resource.value("@odata.type", "").empty() || bmhost::TypeOf(schema) != resource["@odata.type"])
        return {uri + ": of the unknown type " + resource.value("@odata.type", "")};
    if (schema != "MessageRegistry" && resource.value("@odata.id", "") != uri) breaches.push_back(uri + ": @odata.id");
    if (!resource.contains("Name") || !IsText(resource["Name"])) breaches.push_back(uri + ": Name");
    if (schema.ends_with("Collection")) {
        static const std::set<std::string> members = {"@odata.id", "@odata.type", "Name", "Members",
                                                      "Members@odata.count"};
        for (const auto& [name, value] : resource.items()) {
            if (!members.contains(name)) breaches.push_back(uri + ": " + name + " is not known");
        }
        if (resource.value("Members@odata.count", std::size_t{0}) != resource["Members"].size())
            breaches.push_back(uri + ": the count is wrong");
        return breaches;
    }
    const std::string last = uri.substr(uri.rfind('/') + 1);
    if (schema != "ServiceRoot" && resource.value("Id", "") != last) breaches.push_back(uri + ": Id");
    Checker checker(schema, uri);
    checker.Check(resource);
    breaches.insert(breaches.end(), checker.m_breaches.begin(), checker.m_breaches.end());
    return breaches;
}

std::vector<SchemaLink> LinksOf(const ordered_json& resource) {
    const std::string schema = SchemaOfResource(resource);
    std::vector<SchemaLink> links;
    if (schema.ends_with("Collection")) {
        for (const auto& member : resource["Members"])
            links.push_back({member["@odata.id"], schema.substr(0, schema.size() - std::string("Collection").size())});
        return links;
    }
    const auto& properties = AllRules().at(schema).m_properties;
    const ordered_json flat = resource.flatten();
    static const std::regex index("/[0-9]+(?=/|$)");
    for (const auto& [pointer, value] : flat.items()) {
        const std::string path = std::regex_replace(pointer.substr(1), index, "/*");
        if (path.ends_with("/Uri") && schema == "MessageRegistryFile") links.push_back({value, "MessageRegistry"});
        if (!path.ends_with("/@odata.id")) continue;
        const auto rule = properties.find(path.substr(0, path.rfind('/')));
        links.push_back({value, rule != properties.end() ? rule->second.substr(5) : "no link"});
    }
    return links;
}
