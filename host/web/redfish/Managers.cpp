// The resident host, which manages the blade.
#include "common/veldo_common_protocol.h"
#include "host/picture/PictureWords.h"
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

namespace bmhost {

using nlohmann::ordered_json;

namespace {

RedfishStatus HostStatus(const Wanted& wanted) {
    if (!wanted.m_facts.m_view.m_reachable) return {"UnavailableOffline", "Critical"};
    const bool looksOnly = wanted.m_picture.m_host.m_mode == BM_ADAPTOR::HOST_MODE_LOOK_ONLY;
    RedfishStatus status{looksOnly ? "StandbyOffline" : "Enabled", ""};
    if (wanted.m_picture.m_health.m_state == HealthState::Fault) status.m_health = "Critical";
    if (wanted.m_picture.m_health.m_state == HealthState::Monitored) status.m_health = "OK";
    return status;
}

ordered_json OwnOfHost(const Wanted& wanted) {
    const BladeView& view = wanted.m_facts.m_view;
    ordered_json own;
    own["HostReachable"] = view.m_reachable;
    if (view.m_since != WallTime{}) own["HostSince"] = Rfc3339(view.m_since);
    if (!view.m_reason.empty()) own["HostReason"] = CharactersOf(view.m_reason);
    own["Mode"] = wanted.m_picture.m_host.m_mode;
    own["Monitor"] = HealthWord(wanted.m_picture.m_health.m_state);
    ordered_json reasons = ordered_json::array();
    for (const std::string& reason : wanted.m_picture.m_health.m_reasons)
        reasons.push_back(CharactersOf(reason));
    own["MonitorReasons"] = reasons;
    own["Controller"] = ControllerWord(wanted.m_picture.m_controller.m_state);
    return own;
}

} // namespace

Resource MakeManagers(const Wanted&) {
    return CollectionOf("ManagerCollection", "/redfish/v1/Managers", "Managers", {"Bmhost"});
}

Resource MakeManager(const Wanted& wanted) {
    const Picture& picture = wanted.m_picture;
    ordered_json manager = ResourceOf("Manager", ManagerUri, "Bmhost", "Resident host of the blade");
    manager["ManagerType"] = "Service";
    const std::string& version = picture.m_host.m_version;
    manager["FirmwareVersion"] = version.empty() ? wanted.m_facts.m_version : CharactersOf(version);
    manager["DateTime"] = Rfc3339(wanted.m_facts.m_now);
    manager["DateTimeLocalOffset"] = "+00:00";
    manager["Status"] = StatusJson(HostStatus(wanted));
    std::vector<std::string> chassis = {BladeUri};
    for (const int bay : ModuleBays(picture))
        chassis.push_back(ChassisUri(bay));
    ordered_json links;
    PutLinks(links, "ManagerForChassis", chassis);
    PutLinks(links, "ManagerForServers", {MediaUri});
    PutLinks(links, "ManagerForSwitches", {SwitchUri});
    links["ManagerInChassis"] = LinkTo(BladeUri);
    manager["Links"] = links;
    manager["Oem"] = OwnObject("Manager", OwnOfHost(wanted));
    return manager;
}

} // namespace bmhost
