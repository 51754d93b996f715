// What makes the resources, a file for each subject, and what they share.
#pragma once

#include "host/web/redfish/Resources.h"
#include "host/web/redfish/Schemas.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bmhost {

/// {"@odata.id": uri}
inline nlohmann::ordered_json LinkTo(const std::string& uri) {
    nlohmann::ordered_json link;
    link["@odata.id"] = uri;
    return link;
}

inline nlohmann::ordered_json LinksTo(const std::vector<std::string>& uris) {
    nlohmann::ordered_json links = nlohmann::ordered_json::array();
    for (const std::string& uri : uris)
        links.push_back(LinkTo(uri));
    return links;
}

/// An array of links with its count.
inline void PutLinks(nlohmann::ordered_json& object, const std::string& name, const std::vector<std::string>& uris) {
    object[name] = LinksTo(uris);
    object[name + "@odata.count"] = uris.size();
}

/// The members that every resource has.
inline nlohmann::ordered_json ResourceOf(std::string_view schema, const std::string& uri, const std::string& id,
                                         const std::string& name) {
    nlohmann::ordered_json resource;
    resource["@odata.id"] = uri;
    resource["@odata.type"] = TypeOf(schema);
    resource["Id"] = id;
    resource["Name"] = name;
    return resource;
}

/// Each member once.
inline nlohmann::ordered_json CollectionOf(std::string_view schema, const std::string& uri, const std::string& name,
                                           const std::vector<std::string>& ids) {
    nlohmann::ordered_json collection;
    collection["@odata.id"] = uri;
    collection["@odata.type"] = TypeOf(schema);
    collection["Name"] = name;
    std::vector<std::string> members;
    for (const std::string& id : ids) {
        std::string member = uri;
        member.append("/").append(id);
        if (std::find(members.begin(), members.end(), member) == members.end()) members.push_back(std::move(member));
    }
    PutLinks(collection, "Members", members);
    return collection;
}

/// {"Bmhost": {"@odata.type": …, …}}, of the own type of this name.
inline nlohmann::ordered_json OwnObject(std::string_view type, const nlohmann::ordered_json& members) {
    nlohmann::ordered_json own;
    own["@odata.type"] = OwnTypeOf(type);
    own.update(members);
    nlohmann::ordered_json oem;
    oem[std::string(OwnName)] = own;
    return oem;
}

Resource MakeVersions(const Wanted& wanted);
Resource MakeRoot(const Wanted& wanted);
Resource MakeOdata(const Wanted& wanted);
std::optional<RedfishAnswer> AnswerMetadata(const Wanted& wanted);
std::optional<RedfishAnswer> AnswerCsdl(const Wanted& wanted);

Resource MakeAllChassis(const Wanted& wanted);
Resource MakeChassis(const Wanted& wanted);
bool TakesReset(const Wanted& wanted);
bool TakesLeds(const Wanted& wanted);

Resource MakeSystems(const Wanted& wanted);
Resource MakeMedia(const Wanted& wanted);
Resource MakeProcessors(const Wanted& wanted);
Resource MakeProcessor(const Wanted& wanted);
Resource MakeInterfaces(const Wanted& wanted);
Resource MakeInterface(const Wanted& wanted);
bool TakesInterfaceAddress(const Wanted& wanted);

Resource MakeFabrics(const Wanted& wanted);
Resource MakeFabric(const Wanted& wanted);
Resource MakeSwitches(const Wanted& wanted);
Resource MakeSwitch(const Wanted& wanted);
Resource MakePorts(const Wanted& wanted);
Resource MakePort(const Wanted& wanted);

Resource MakeManagers(const Wanted& wanted);
Resource MakeManager(const Wanted& wanted);

Resource MakeUpdateService(const Wanted& wanted);
Resource MakeFirmwares(const Wanted& wanted);
Resource MakeFirmware(const Wanted& wanted);
Resource MakeTaskService(const Wanted& wanted);
Resource MakeTasks(const Wanted& wanted);
Resource MakeTask(const Wanted& wanted);
std::optional<RedfishAnswer> AnswerTaskMonitor(const Wanted& wanted);

Resource MakeEventService(const Wanted& wanted);
Resource MakeSubscriptions(const Wanted& wanted);
Resource MakeSubscription(const Wanted& wanted);

Resource MakeSessionService(const Wanted& wanted);
Resource MakeSessions(const Wanted& wanted);
Resource MakeSession(const Wanted& wanted);
Resource MakeAccountService(const Wanted& wanted);
Resource MakeAccounts(const Wanted& wanted);
Resource MakeAccount(const Wanted& wanted);
Resource MakeRoles(const Wanted& wanted);
Resource MakeRole(const Wanted& wanted);

Resource MakeRegistries(const Wanted& wanted);
Resource MakeRegistryFile(const Wanted& wanted);
Resource MakeOwnRegistry(const Wanted& wanted);
Resource MakeJsonSchemas(const Wanted& wanted);
Resource MakeJsonSchemaFile(const Wanted& wanted);
std::optional<RedfishAnswer> AnswerJsonSchema(const Wanted& wanted);

} // namespace bmhost
