// The blade's inventory for people, and the list of what can be asked.
#pragma once

#include <string>

namespace BMHOST {

class SESSION;

/// Between init and fin: board, modules, and what the modules carry, as aligned tables. True when the board's table
/// could be read.
bool Inventory(SESSION& a_Session, bool a_Color, std::string& a_Text);

/// Every group and parameter with number, type and name.
std::string ListGroups();

} // namespace BMHOST
