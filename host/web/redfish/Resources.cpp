// Every URI of the tree, in one table, and the resource that each one is.
#include "host/web/redfish/Resources.h"

#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

#include <algorithm>

namespace bmhost {

namespace {

constexpr TreeNode Tree[] = {
    {"/redfish", "", MakeVersions},
    {"/redfish/v1", "ServiceRoot", MakeRoot},
    {"/redfish/v1/odata", "", MakeOdata},
    {"/redfish/v1/$metadata", "", nullptr, AnswerMetadata},
    {OwnCsdlUri, "", nullptr, AnswerCsdl},
    {"/redfish/v1/Chassis", "ChassisCollection", MakeAllChassis},
    {"/redfish/v1/Chassis/{}", "Chassis", MakeChassis},
    {"/redfish/v1/Chassis/{}/Actions/Chassis.Reset", "", nullptr, nullptr, "POST", TakesReset},
    {"/redfish/v1/Chassis/{}/Actions/Oem/Bmhost.SetLed", "", nullptr, nullptr, "POST", TakesLeds},
    {"/redfish/v1/Systems", "ComputerSystemCollection", MakeSystems},
    {"/redfish/v1/Systems/Media", "ComputerSystem", MakeMedia},
    {"/redfish/v1/Systems/Media/Processors", "ProcessorCollection", MakeProcessors},
    {"/redfish/v1/Systems/Media/Processors/{}", "Processor", MakeProcessor},
    {"/redfish/v1/Systems/Media/EthernetInterfaces", "EthernetInterfaceCollection", MakeInterfaces},
    {"/redfish/v1/Systems/Media/EthernetInterfaces/{}", "EthernetInterface", MakeInterface, nullptr, "PATCH",
     TakesInterfaceAddress},
    {"/redfish/v1/Fabrics", "FabricCollection", MakeFabrics},
    {"/redfish/v1/Fabrics/Ethernet", "Fabric", MakeFabric},
    {"/redfish/v1/Fabrics/Ethernet/Switches", "SwitchCollection", MakeSwitches},
    {"/redfish/v1/Fabrics/Ethernet/Switches/Switch", "Switch", MakeSwitch},
    {"/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports", "PortCollection", MakePorts},
    {"/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/{}", "Port", MakePort, nullptr, "PATCH"},
    {"/redfish/v1/Managers", "ManagerCollection", MakeManagers},
    {"/redfish/v1/Managers/Bmhost", "Manager", MakeManager},
    {"/redfish/v1/UpdateService", "UpdateService", MakeUpdateService},
    {UploadUri, "", nullptr, nullptr, "POST"},
    {"/redfish/v1/UpdateService/FirmwareInventory", "SoftwareInventoryCollection", MakeFirmwares},
    {"/redfish/v1/UpdateService/FirmwareInventory/{}", "SoftwareInventory", MakeFirmware},
    {"/redfish/v1/TaskService", "TaskService", MakeTaskService},
    {"/redfish/v1/TaskService/Tasks", "TaskCollection", MakeTasks},
    {"/redfish/v1/TaskService/Tasks/{}", "Task", MakeTask},
    {"/redfish/v1/TaskService/TaskMonitors/{}", "Task", nullptr, AnswerTaskMonitor},
    {"/redfish/v1/EventService", "EventService", MakeEventService},
    {"/redfish/v1/EventService/Actions/EventService.SubmitTestEvent", "", nullptr, nullptr, "POST"},
    {"/redfish/v1/EventService/Subscriptions", "EventDestinationCollection", MakeSubscriptions},
    {"/redfish/v1/EventService/Subscriptions/{}", "EventDestination", MakeSubscription, nullptr, "DELETE"},
    {"/redfish/v1/SessionService", "SessionService", MakeSessionService},
    {SessionsUri, "SessionCollection", MakeSessions, nullptr, "POST"},
    {"/redfish/v1/SessionService/Sessions/Members", "", nullptr, nullptr, "POST"},
    {"/redfish/v1/SessionService/Sessions/{}", "Session", MakeSession, nullptr, "DELETE"},
    {"/redfish/v1/AccountService", "AccountService", MakeAccountService},
    {"/redfish/v1/AccountService/Accounts", "ManagerAccountCollection", MakeAccounts},
    {"/redfish/v1/AccountService/Accounts/{}", "ManagerAccount", MakeAccount},
    {"/redfish/v1/AccountService/Roles", "RoleCollection", MakeRoles},
    {"/redfish/v1/AccountService/Roles/{}", "Role", MakeRole},
    {"/redfish/v1/Registries", "MessageRegistryFileCollection", MakeRegistries},
    {"/redfish/v1/Registries/{}", "MessageRegistryFile", MakeRegistryFile},
    {"/redfish/v1/Registries/Bmhost.1.0/Bmhost.1.0.0", "MessageRegistry", MakeOwnRegistry},
    {"/redfish/v1/JsonSchemas", "JsonSchemaFileCollection", MakeJsonSchemas},
    {"/redfish/v1/JsonSchemas/{}", "JsonSchemaFile", MakeJsonSchemaFile},
    {"/redfish/v1/JsonSchemas/Bmhost.v1_0_0/Bmhost.v1_0_0.json", "", nullptr, AnswerJsonSchema},
};

// Below these, everything comes from the picture.
constexpr std::string_view BladeRoots[] = {"/redfish/v1/Chassis",       "/redfish/v1/Systems",
                                           "/redfish/v1/Fabrics",       "/redfish/v1/Managers",
                                           "/redfish/v1/UpdateService", "/redfish/v1/TaskService"};

std::optional<std::vector<std::string>> FitsPattern(std::string_view pattern, std::string_view path) {
    std::vector<std::string> ids;
    while (true) {
        const std::string_view wanted = pattern.substr(0, pattern.find('/'));
        const std::string_view given = path.substr(0, path.find('/'));
        if (wanted == "{}" && !given.empty()) {
            ids.emplace_back(given);
        } else if (wanted != given) {
            return std::nullopt;
        }
        if (wanted.size() == pattern.size() || given.size() == path.size()) {
            if (wanted.size() == pattern.size() && given.size() == path.size()) return ids;
            return std::nullopt;
        }
        pattern.remove_prefix(wanted.size() + 1);
        path.remove_prefix(given.size() + 1);
    }
}

const Picture& PictureIn(const TreeFacts& facts) {
    static const Picture none;
    return facts.m_view.m_picture != nullptr ? *facts.m_view.m_picture : none;
}

} // namespace

std::span<const TreeNode> Nodes() {
    return Tree;
}

FoundNode FindNode(const TreeFacts& facts, std::string_view path) {
    if (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    FoundNode found{nullptr, {facts, PictureIn(facts)}};
    for (const TreeNode& node : Tree) {
        auto ids = FitsPattern(node.m_pattern, path);
        if (!ids) continue;
        found.m_node = &node;
        found.m_wanted.m_ids = std::move(*ids);
        if (found.m_wanted.m_ids.empty()) break; // a pattern with an id may fit too
    }
    return found;
}

bool IsOfBlade(const TreeNode& node) {
    return std::ranges::any_of(BladeRoots, [&](std::string_view root) { return node.m_pattern.starts_with(root); });
}

bool IsBladeKnown(const TreeFacts& facts) {
    return facts.m_view.m_picture != nullptr && facts.m_view.m_picture->m_host.m_init;
}

bool IsThere(const FoundNode& found) {
    if (found.m_node == nullptr) return false;
    const TreeNode& node = *found.m_node;
    if (node.m_make != nullptr) return node.m_make(found.m_wanted).has_value();
    if (node.m_answer != nullptr) return node.m_answer(found.m_wanted).has_value();
    return node.m_takes == nullptr || node.m_takes(found.m_wanted);
}

std::string AllowOf(const FoundNode& found) {
    const TreeNode& node = *found.m_node;
    std::string allow = node.m_make != nullptr || node.m_answer != nullptr ? "GET, HEAD" : "";
    if (node.m_writes.empty() || (node.m_takes != nullptr && !node.m_takes(found.m_wanted))) return allow;
    return allow + (allow.empty() ? "" : ", ") + std::string(node.m_writes);
}

Resource ResourceAt(const TreeFacts& facts, std::string_view path) {
    const FoundNode found = FindNode(facts, path);
    if (found.m_node == nullptr || found.m_node->m_make == nullptr) return std::nullopt;
    return found.m_node->m_make(found.m_wanted);
}

std::optional<std::string> OwnerOf(const TreeFacts& facts, std::string_view path) {
    const FoundNode found = FindNode(facts, path);
    if (found.m_node == nullptr || found.m_node->m_make == nullptr) return std::nullopt;
    const Resource resource = found.m_node->m_make(found.m_wanted);
    if (!resource || !resource->contains("UserName")) return std::nullopt;
    return resource->at("UserName").get<std::string>();
}

} // namespace bmhost
