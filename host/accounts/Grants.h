// Who may do what at the web door: one row for every method of every path.
#pragma once

#include "host/accounts/Roles.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// Where a request is answered that comes without an account.
enum class Without {
    Nowhere,
    PlainLoopback, ///< on a loopback address without TLS
    Everywhere
};

/// An account needs one of the privileges.
struct Grant {
    std::string_view m_method; ///< GET stands for HEAD, too
    std::string_view m_path;   ///< {name} stands for one part, {…} at the end for one or more
    Without m_without;
    Privilege m_needs;
    std::optional<Privilege> m_or;  ///< this does as well
    std::optional<Privilege> m_own; ///< this does for what is the account's own: its session, its password
    std::string_view m_what;        ///< what the request does
};

std::span<const Grant> Grants();

/// The request's row; null if there is none, and then nothing may be done. One slash too many at the end of a Redfish
/// path is the same path.
/// @param path  decoded, without the query
const Grant* GrantFor(std::string_view method, std::string_view path);
/// The methods that have a row for this path, for the header Allow; none: there is no such path.
std::vector<std::string_view> MethodsOf(std::string_view path);

/// Whether a role may do it.
/// @param own  whether it is the account's own
bool MayDo(Role role, const Grant& grant, bool own);

/// The rows as docs/security.md shows them.
std::string GrantsTable();

} // namespace bmhost
