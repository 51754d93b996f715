// The blade's inventory for people, and the list of what can be asked.
#pragma once

#include <string>

namespace bmhost {

class Session;

/// Between init and fin: board, modules, and what the modules carry, as aligned tables. True when the board's table
/// could be read.
bool Inventory(Session& session, bool color, std::string& text);

/// Every group and parameter with number, type and name.
std::string ListGroups();

} // namespace bmhost
