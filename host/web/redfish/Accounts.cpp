// Who may come in: sessions, accounts, roles.
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

#include <algorithm>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* AccountsUri = "/redfish/v1/AccountService/Accounts";
constexpr const char* RolesUri = "/redfish/v1/AccountService/Roles";

template <typename Items>
std::vector<std::string> IdsOf(const Items& items, std::string Items::value_type::*id) {
    std::vector<std::string> ids;
    ids.reserve(items.size());
    for (const auto& item : items)
        ids.push_back(item.*id);
    return ids;
}

std::string UriIn(const char* collection, const std::string& id) {
    return std::string(collection) + "/" + id;
}

} // namespace

Resource MakeSessionService(const Wanted& wanted) {
    ordered_json service = ResourceOf("SessionService", "/redfish/v1/SessionService", "SessionService", "Sessions");
    service["ServiceEnabled"] = true;
    service["Status"] = StatusJson({"Enabled", "OK"});
    service["SessionTimeout"] = wanted.m_facts.m_sessionSeconds;
    service["Sessions"] = LinkTo(SessionsUri);
    return service;
}

Resource MakeSessions(const Wanted& wanted) {
    return CollectionOf("SessionCollection", SessionsUri, "Sessions",
                        IdsOf(wanted.m_facts.m_sessions, &SessionFacts::m_id));
}

Resource MakeSession(const Wanted& wanted) {
    const auto& sessions = wanted.m_facts.m_sessions;
    const auto found = std::ranges::find(sessions, wanted.m_ids.at(0), &SessionFacts::m_id);
    if (found == sessions.end()) return std::nullopt;
    ordered_json session =
        ResourceOf("Session", UriIn(SessionsUri, found->m_id), found->m_id, "Session of " + found->m_account);
    session["UserName"] = found->m_account;
    session["CreatedTime"] = Rfc3339(found->m_created);
    session["SessionType"] = "Redfish";
    if (!found->m_address.empty()) session["ClientOriginIPAddress"] = found->m_address;
    session["Password"] = nullptr;
    return session;
}

Resource MakeAccountService(const Wanted&) {
    ordered_json service = ResourceOf("AccountService", "/redfish/v1/AccountService", "AccountService", "Accounts");
    service["ServiceEnabled"] = true;
    service["Status"] = StatusJson({"Enabled", "OK"});
    service["HTTPBasicAuth"] = "Enabled";
    service["LocalAccountAuth"] = "Enabled";
    service["Accounts"] = LinkTo(AccountsUri);
    service["Roles"] = LinkTo(RolesUri);
    return service;
}

Resource MakeAccounts(const Wanted& wanted) {
    return CollectionOf("ManagerAccountCollection", AccountsUri, "Accounts",
                        IdsOf(wanted.m_facts.m_accounts, &AccountFacts::m_name));
}

Resource MakeAccount(const Wanted& wanted) {
    const auto& accounts = wanted.m_facts.m_accounts;
    const auto found = std::ranges::find(accounts, wanted.m_ids.at(0), &AccountFacts::m_name);
    if (found == accounts.end()) return std::nullopt;
    ordered_json account =
        ResourceOf("ManagerAccount", UriIn(AccountsUri, found->m_name), found->m_name, "Account " + found->m_name);
    account["UserName"] = found->m_name;
    account["RoleId"] = found->m_role;
    account["AccountTypes"] = ordered_json::array({"Redfish"});
    account["Enabled"] = true;
    account["Locked"] = found->m_locked;
    account["Password"] = nullptr;
    account["Links"]["Role"] = LinkTo(UriIn(RolesUri, found->m_role));
    return account;
}

Resource MakeRoles(const Wanted& wanted) {
    return CollectionOf("RoleCollection", RolesUri, "Roles", IdsOf(wanted.m_facts.m_roles, &RoleFacts::m_name));
}

Resource MakeRole(const Wanted& wanted) {
    const auto& roles = wanted.m_facts.m_roles;
    const auto found = std::ranges::find(roles, wanted.m_ids.at(0), &RoleFacts::m_name);
    if (found == roles.end()) return std::nullopt;
    ordered_json role = ResourceOf("Role", UriIn(RolesUri, found->m_name), found->m_name, "Role " + found->m_name);
    role["RoleId"] = found->m_name;
    role["IsPredefined"] = true;
    role["AssignedPrivileges"] = found->m_privileges;
    return role;
}

} // namespace bmhost
