// What an account may do: its role, and the privileges that this role has.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace bmhost {

/// As Redfish names them.
enum class Role { ReadOnly, Operator, Administrator };
inline constexpr std::array AllRoles = {Role::ReadOnly, Role::Operator, Role::Administrator};

/// As Redfish names them.
enum class Privilege { Login, ConfigureSelf, ConfigureComponents, ConfigureManager, ConfigureUsers };
inline constexpr std::array AllPrivileges = {Privilege::Login, Privilege::ConfigureSelf, Privilege::ConfigureComponents,
                                             Privilege::ConfigureManager, Privilege::ConfigureUsers};

/// In the order of the enumeration.
std::span<const Privilege> PrivilegesOf(Role role);
bool Has(Role role, Privilege privilege);

/// "ReadOnly".
std::string_view RoleName(Role role);
/// Nothing for any other text; upper and lower case differ.
std::optional<Role> RoleOf(std::string_view name);
/// "ConfigureSelf".
std::string_view PrivilegeName(Privilege privilege);

} // namespace bmhost
