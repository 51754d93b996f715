// What an account may do: its role, and the privileges that this role has.
#include "host/accounts/Roles.h"

#include <algorithm>

namespace bmhost {

std::span<const Privilege> PrivilegesOf(Role role) {
    static constexpr std::array readOnly = {Privilege::Login, Privilege::ConfigureSelf};
    static constexpr std::array operates = {Privilege::Login, Privilege::ConfigureSelf, Privilege::ConfigureComponents};
    switch (role) {
    case Role::Administrator:
        return AllPrivileges;
    case Role::Operator:
        return operates;
    case Role::ReadOnly:
        break;
    }
    return readOnly;
}

bool Has(Role role, Privilege privilege) {
    const auto privileges = PrivilegesOf(role);
    return std::ranges::find(privileges, privilege) != privileges.end();
}

std::string_view RoleName(Role role) {
    switch (role) {
    case Role::Administrator:
        return "Administrator";
    case Role::Operator:
        return "Operator";
    case Role::ReadOnly:
        break;
    }
    return "ReadOnly";
}

std::optional<Role> RoleOf(std::string_view name) {
    const auto* const role = std::ranges::find(AllRoles, name, RoleName);
    return role == AllRoles.end() ? std::nullopt : std::optional(*role);
}

std::string_view PrivilegeName(Privilege privilege) {
    switch (privilege) {
    case Privilege::ConfigureSelf:
        return "ConfigureSelf";
    case Privilege::ConfigureComponents:
        return "ConfigureComponents";
    case Privilege::ConfigureManager:
        return "ConfigureManager";
    case Privilege::ConfigureUsers:
        return "ConfigureUsers";
    case Privilege::Login:
        break;
    }
    return "Login";
}

} // namespace bmhost
