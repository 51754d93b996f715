// `bmhost status`: run status and LEDs of the blade, and its last firmware upgrade.
#pragma once

#include <string>

namespace BMHOST {

class SESSION;

/// Between init and fin. Appends the status as tables for people. True when what there is could be read and nothing has
/// failed.
bool Status(SESSION& a_Session, bool a_Color, std::string& a_Text);
/// The same as one JSON line.
bool StatusJson(SESSION& a_Session, std::string& a_Text);

} // namespace BMHOST
