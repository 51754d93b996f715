// `bmhost status`: run status and LEDs of the blade, and its last firmware upgrade.
#pragma once

#include <string>

namespace bmhost {

class Session;

/// To be called between init and fin. Appends the status as tables for people. True when everything could be read and
/// nothing has failed.
bool Status(Session& session, bool color, std::string& text);
/// The same as one JSON line.
bool StatusJson(Session& session, std::string& text);

} // namespace bmhost
