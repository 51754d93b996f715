// The list of groups and parameters.
#pragma once

#include <string>

namespace bmhost {

/// Every group and parameter with number, type and name.
std::string ListGroups();
/// The same as one line of JSON.
std::string GroupsJson();

} // namespace bmhost
