// The root of the tree, and what describes it.
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

namespace bmhost {

using nlohmann::ordered_json;

namespace {

/// Of the protocol's specification.
constexpr const char* RedfishVersion = "1.21.0";

struct RootChild {
    const char* m_name;
    const char* m_uri;
};

constexpr RootChild RootChildren[] = {{"Chassis", "/redfish/v1/Chassis"},
                                      {"Systems", "/redfish/v1/Systems"},
                                      {"Managers", "/redfish/v1/Managers"},
                                      {"Fabrics", "/redfish/v1/Fabrics"},
                                      {"UpdateService", "/redfish/v1/UpdateService"},
                                      {"Tasks", "/redfish/v1/TaskService"},
                                      {"EventService", "/redfish/v1/EventService"},
                                      {"SessionService", "/redfish/v1/SessionService"},
                                      {"AccountService", "/redfish/v1/AccountService"},
                                      {"Registries", "/redfish/v1/Registries"},
                                      {"JsonSchemas", "/redfish/v1/JsonSchemas"}};

ordered_json FeaturesJson() {
    ordered_json expand;
    for (const char* const name : {"ExpandAll", "Levels", "Links", "NoLinks"})
        expand[name] = false;
    ordered_json deep;
    for (const char* const name : {"DeepPATCH", "DeepPOST"})
        deep[name] = false;
    ordered_json features;
    for (const char* const name : {"ExcerptQuery", "FilterQuery", "OnlyMemberQuery", "SelectQuery"})
        features[name] = false;
    features["ExpandQuery"] = expand;
    features["DeepOperations"] = deep;
    return features;
}

std::optional<RedfishAnswer> XmlAnswer(std::string text) {
    RedfishAnswer answer = EmptyAnswer(200);
    answer.m_body = std::move(text);
    answer.m_contentType = "application/xml";
    return answer;
}

} // namespace

Resource MakeVersions(const Wanted&) {
    ordered_json versions;
    versions["v1"] = RootUri;
    return versions;
}

Resource MakeRoot(const Wanted& wanted) {
    ordered_json root = ResourceOf("ServiceRoot", RootUri, "RootService", "Root service");
    root["RedfishVersion"] = RedfishVersion;
    root["UUID"] = wanted.m_facts.m_uuid;
    root["Product"] = wanted.m_picture.m_source.IsSimulated() ? "bmhost, simulated inventory" : "bmhost";
    root["ProtocolFeaturesSupported"] = FeaturesJson();
    for (const RootChild& child : RootChildren)
        root[child.m_name] = LinkTo(child.m_uri);
    root["Links"]["Sessions"] = LinkTo(SessionsUri);
    return root;
}

Resource MakeOdata(const Wanted&) {
    ordered_json list = ordered_json::array();
    const auto add = [&](const char* name, const char* uri) {
        ordered_json entry;
        entry["name"] = name;
        entry["kind"] = "Singleton";
        entry["url"] = uri;
        list.push_back(entry);
    };
    add("Service", RootUri);
    for (const RootChild& child : RootChildren)
        add(child.m_name, child.m_uri);
    add("Sessions", SessionsUri);
    ordered_json document;
    document["@odata.context"] = "/redfish/v1/$metadata";
    document["value"] = list;
    return document;
}

std::optional<RedfishAnswer> AnswerMetadata(const Wanted&) {
    return XmlAnswer(MetadataXml());
}

std::optional<RedfishAnswer> AnswerCsdl(const Wanted&) {
    return XmlAnswer(std::string(OwnCsdl()));
}

} // namespace bmhost
