// The panel of LEDs for people.
#pragma once

#include "host/picture/Led.h"

#include <string>
#include <vector>

namespace bmhost {

/// Appends every LED of the blade, read one by one, as an aligned table. True when there is an LED and all could be
/// read.
bool LedPanel(Session& session, bool color, std::string& text);

/// The panel's line of an LED that was read.
std::vector<std::string> LedLine(LedPlace place, const LedRow& row);
/// Such lines as an aligned table, under the names of the columns.
std::string LedTable(const std::vector<std::vector<std::string>>& lines, bool color);

} // namespace bmhost
