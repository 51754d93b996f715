// The blade's inventory for people, and the list of groups and parameters.
#pragma once

#include <string>

namespace bmhost {

class Session;

/// To be called between init and fin. Appends board, modules, and what the modules carry, as aligned tables. True when
/// the board's table could be read.
bool ShowInventory(Session& session, bool color, std::string& text);

/// Every group and parameter with number, type and name.
std::string ListGroups();

} // namespace bmhost
