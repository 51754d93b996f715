// Who may do what at the web door: one row for every method of every path.
#include "host/accounts/Grants.h"

#include <algorithm>

namespace bmhost {

namespace {

using enum Privilege;
using enum Without;
constexpr std::nullopt_t None = std::nullopt;

constexpr std::string_view TheRest = "{…}";

// The first row that fits counts.
constexpr Grant Rows[] = {
    {"GET", "/", PlainLoopback, Login, None, None, "the page"},
    {"GET", "/page/{file}", PlainLoopback, Login, None, None, "the page's files"},
    {"GET", "/metrics", PlainLoopback, Login, None, None, "the metrics"},

    {"GET", "/v1", PlainLoopback, Login, None, None, "version and links"},
    {"GET", "/v1/blade", PlainLoopback, Login, None, None, "the picture of the blade"},
    {"GET", "/v1/blade/{…}", PlainLoopback, Login, None, None, "a part of the picture"},
    {"GET", "/v1/events", PlainLoopback, Login, None, None, "events, as they happen"},
    {"GET", "/v1/statistics", PlainLoopback, Login, None, None, "what the host has counted"},
    {"GET", "/v1/log", PlainLoopback, Login, None, None, "the last lines of the log"},
    {"GET", "/v1/openapi.json", PlainLoopback, Login, None, None, "the description of /v1"},
    {"POST", "/v1/orders/led-set", Nowhere, ConfigureComponents, None, None, "set an LED"},
    {"POST", "/v1/orders/dsp-set-ip", Nowhere, ConfigureComponents, None, None, "give a DSP another address"},
    {"POST", "/v1/orders/switch-set", Nowhere, ConfigureComponents, None, None, "enable or disable a port"},
    {"POST", "/v1/orders/board-reset", Nowhere, ConfigureComponents, None, None, "reset the baseboard"},
    {"POST", "/v1/orders/start", Nowhere, ConfigureComponents, None, None, "start the media software"},
    {"POST", "/v1/orders/stop", Nowhere, ConfigureComponents, None, None, "stop the media software"},
    {"POST", "/v1/firmware", Nowhere, ConfigureComponents, None, None, "upgrade firmware with the image in the body"},
    // These two take paths of the blade's own disk, which root's process opens.
    {"POST", "/v1/orders/firmware-update", Nowhere, ConfigureManager, None, None,
     "upgrade firmware with a file of the blade's own"},
    {"POST", "/v1/calls", Nowhere, ConfigureManager, None, None, "any call of the adaptor, unchecked"},

    {"GET", "/redfish", Everywhere, Login, None, None, "the versions of Redfish"},
    {"GET", "/redfish/v1", Everywhere, Login, None, None, "the service root"},
    {"GET", "/redfish/v1/odata", Everywhere, Login, None, None, "the OData service document"},
    {"GET", "/redfish/v1/$metadata", Everywhere, Login, None, None, "the OData metadata"},
    {"POST", "/redfish/v1/SessionService/Sessions", Everywhere, Login, None, None, "log in"},
    {"POST", "/redfish/v1/SessionService/Sessions/Members", Everywhere, Login, None, None, "log in"},
    {"DELETE", "/redfish/v1/SessionService/Sessions/{id}", Nowhere, ConfigureManager, None, ConfigureSelf,
     "end a session"},
    {"GET", "/redfish/v1/AccountService/Accounts/{name}", PlainLoopback, ConfigureManager, ConfigureUsers,
     ConfigureSelf, "an account; its password is never shown"},
    {"POST", "/redfish/v1/Chassis/{chassis}/Actions/Chassis.Reset", Nowhere, ConfigureComponents, None, None,
     "reset the baseboard"},
    {"POST", "/redfish/v1/Chassis/{chassis}/Actions/Oem/Bmhost.SetLed", Nowhere, ConfigureComponents, None, None,
     "set an LED"},
    {"PATCH", "/redfish/v1/Systems/Media/EthernetInterfaces/{interface}", Nowhere, ConfigureComponents, None, None,
     "give a DSP another address"},
    {"PATCH", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/{port}", Nowhere, ConfigureComponents, None, None,
     "enable or disable a port"},
    {"POST", "/redfish/v1/UpdateService/upload", Nowhere, ConfigureComponents, None, None,
     "upgrade firmware with the image in the body"},
    {"POST", "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent", Nowhere, ConfigureManager, None, None,
     "send a test event"},
    {"DELETE", "/redfish/v1/EventService/Subscriptions/{id}", Nowhere, ConfigureManager, None, ConfigureSelf,
     "end a stream of events"},
    {"GET", "/redfish/v1/{…}", PlainLoopback, Login, None, None, "every other resource, the stream of events too"},
};

std::string_view FirstPart(std::string_view& path) {
    const auto end = path.find('/');
    const std::string_view part = path.substr(0, end);
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    return part;
}

bool Fits(std::string_view pattern, std::string_view path) {
    // What an empty part would be is for nobody to guess.
    if (path.empty() || path.front() != '/' || path.find("//") != std::string_view::npos) return false;
    if (path.size() > 1 && path.back() == '/') return false;
    while (!pattern.empty() && !path.empty()) {
        if (pattern == TheRest) return true;
        const std::string_view wanted = FirstPart(pattern);
        const std::string_view given = FirstPart(path);
        if (wanted.starts_with('{') ? given.empty() : wanted != given) return false;
    }
    return pattern.empty() && path.empty();
}

std::string_view WithoutSlash(std::string_view path) {
    if (path.starts_with("/redfish/") && path.ends_with('/')) path.remove_suffix(1);
    return path;
}

std::string NeedsText(const Grant& grant) {
    std::string text(PrivilegeName(grant.m_needs));
    if (grant.m_or) text.append(" or ").append(PrivilegeName(*grant.m_or));
    if (grant.m_own) text.append("; ").append(PrivilegeName(*grant.m_own)).append(" for one's own");
    return text;
}

// The least role does; the others can do more.
std::string RolesText(const Grant& grant) {
    const auto least = [&](bool own) {
        return RoleName(*std::ranges::find_if(AllRoles, [&](Role role) { return MayDo(role, grant, own); }));
    };
    std::string text(least(false));
    if (least(true) != least(false)) text.append("; one's own: ").append(least(true));
    return text;
}

std::string_view WithoutText(Without without) {
    switch (without) {
    case PlainLoopback:
        return "plain loopback";
    case Everywhere:
        return "everywhere";
    case Nowhere:
        break;
    }
    return "nowhere";
}

} // namespace

std::span<const Grant> Grants() {
    return Rows;
}

const Grant* GrantFor(std::string_view method, std::string_view path) {
    if (method == "HEAD") method = "GET";
    path = WithoutSlash(path);
    const auto* const row = std::ranges::find_if(
        Rows, [&](const Grant& each) { return each.m_method == method && Fits(each.m_path, path); });
    return row == std::end(Rows) ? nullptr : row;
}

std::vector<std::string_view> MethodsOf(std::string_view path) {
    std::vector<std::string_view> methods;
    for (const std::string_view method : {"GET", "HEAD", "POST", "PATCH", "DELETE"}) {
        if (GrantFor(method, path) != nullptr) methods.push_back(method);
    }
    return methods;
}

bool MayDo(Role role, const Grant& grant, bool own) {
    return Has(role, grant.m_needs) || (grant.m_or && Has(role, *grant.m_or)) ||
           (own && grant.m_own && Has(role, *grant.m_own));
}

std::string GrantsTable() {
    std::string table = "| request | what it does | needs | least role | without an account |\n|---|---|---|---|---|\n";
    for (const Grant& grant : Grants()) {
        table.append("| `").append(grant.m_method).append(" ").append(grant.m_path).append("` | ");
        table.append(grant.m_what).append(" | ").append(NeedsText(grant)).append(" | ").append(RolesText(grant));
        table.append(" | ").append(WithoutText(grant.m_without)).append(" |\n");
    }
    return table;
}

} // namespace bmhost
