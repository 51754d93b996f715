// The blade's Ethernet switch.
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* FabricUri = "/redfish/v1/Fabrics/Ethernet";

} // namespace

Resource MakeFabrics(const Wanted&) {
    return CollectionOf("FabricCollection", "/redfish/v1/Fabrics", "Fabrics", {"Ethernet"});
}

Resource MakeFabric(const Wanted&) {
    ordered_json fabric = ResourceOf("Fabric", FabricUri, "Ethernet", "Ethernet of the blade");
    fabric["FabricType"] = "Ethernet";
    fabric["Switches"] = LinkTo(std::string(FabricUri) + "/Switches");
    return fabric;
}

Resource MakeSwitches(const Wanted&) {
    return CollectionOf("SwitchCollection", std::string(FabricUri) + "/Switches", "Switches", {"Switch"});
}

Resource MakeSwitch(const Wanted&) {
    ordered_json fields = ResourceOf("Switch", SwitchUri, "Switch", "Ethernet switch");
    fields["SwitchType"] = "Ethernet";
    fields["SupportedProtocols"] = ordered_json::array({"Ethernet"});
    fields["Ports"] = LinkTo(std::string(SwitchUri) + "/Ports");
    ordered_json links;
    links["Chassis"] = LinkTo(BladeUri);
    PutLinks(links, "ManagedBy", {ManagerUri});
    fields["Links"] = links;
    return fields;
}

Resource MakePorts(const Wanted& wanted) {
    std::vector<std::string> ids;
    for (const PortFacts* const port : ServedPorts(wanted.m_picture))
        ids.push_back(std::to_string(port->m_port));
    return CollectionOf("PortCollection", std::string(SwitchUri) + "/Ports", "External ports", ids);
}

Resource MakePort(const Wanted& wanted) {
    const PortFacts* const port = FindPort(wanted.m_picture, wanted.m_ids.at(0));
    if (port == nullptr) return std::nullopt;
    const std::string id = std::to_string(port->m_port);
    const std::string name = CharactersOf(port->m_name);
    ordered_json fields = ResourceOf("Port", PortUri(port->m_port), id, name.empty() ? "Port " + id : name);
    fields["PortId"] = id;
    fields["PortProtocol"] = "Ethernet";
    if (port->m_enabled) fields["InterfaceEnabled"] = *port->m_enabled;
    if (port->m_linkUp) fields["LinkStatus"] = *port->m_linkUp ? "LinkUp" : "LinkDown"; // it must not be null
    if (!port->m_leadsTo.empty()) {
        ordered_json own;
        own["LeadsTo"] = CharactersOf(port->m_leadsTo);
        fields["Oem"] = OwnObject("Port", own);
    }
    return fields;
}

} // namespace bmhost
