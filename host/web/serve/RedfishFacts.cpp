// What the Redfish tree is made of, as it is now.
#include "host/web/serve/RedfishFacts.h"

#include "host/accounts/Roles.h"

#include <chrono>
#include <systemd/sd-id128.h>

namespace bmhost {

namespace {

/// Makes the machine's id one of this service, from which nobody finds out the machine's.
constexpr sd_id128_t OwnId = SD_ID128_ARRAY(5d, 0e, 2a, 71, 9c, 84, 4b, 36, a1, 57, 3f, e8, 60, 12, d9, 4c);

std::vector<RoleFacts> Roles() {
    std::vector<RoleFacts> roles;
    for (const Role role : AllRoles) {
        RoleFacts facts{std::string(RoleName(role)), {}};
        for (const Privilege privilege : PrivilegesOf(role))
            facts.m_privileges.emplace_back(PrivilegeName(privilege));
        roles.push_back(std::move(facts));
    }
    return roles;
}

} // namespace

FactsNow::FactsNow(const RedfishParts& parts) : m_view(parts.m_sources.m_mirror.Look()), m_facts{.m_view = m_view} {
    const FactSources& sources = parts.m_sources;
    Sessions& sessions = sources.m_logins.OpenSessions();
    m_facts.m_now = WallNow();
    m_facts.m_uuid = sources.m_uuid;
    m_facts.m_version = BMHOST_VERSION;
    m_facts.m_mostImageBytes = sources.m_mostImageBytes;
    m_facts.m_sessionSeconds = std::chrono::duration_cast<std::chrono::seconds>(sessions.Limits().m_idle).count();
    m_facts.m_roles = Roles();
    for (const Account& account : sources.m_logins.Accounts()->All())
        m_facts.m_accounts.push_back({account.m_name, std::string(RoleName(account.m_role)), account.m_locked});
    for (const WebSession& session : sessions.List())
        m_facts.m_sessions.push_back(
            {std::to_string(session.m_id), session.m_account, session.m_address, session.m_created});
    m_facts.m_subscriptions = parts.m_events.List();
}

std::string ServiceUuid() {
    sd_id128_t id{};
    if (sd_id128_get_machine_app_specific(OwnId, &id) < 0 && sd_id128_randomize(&id) < 0) return "";
    char digits[SD_ID128_STRING_MAX];
    const std::string text = sd_id128_to_string(id, digits);
    return text.substr(0, 8) + "-" + text.substr(8, 4) + "-" + text.substr(12, 4) + "-" + text.substr(16, 4) + "-" +
           text.substr(20);
}

} // namespace bmhost
