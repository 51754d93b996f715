// The panel of LEDs for people.
#pragma once

#include "host/views/Led.h"

#include <string>
#include <vector>

namespace BMHOST {

/// Appends every LED of the blade, read one by one, as an aligned table. True when there is one and all could be read.
bool LedPanel(SESSION& a_Session, bool a_Color, std::string& a_Text);

/// The panel's line of an LED that was read.
std::vector<std::string> LedLine(LED_PLACE a_Place, const LED_ROW& a_Row);
/// What the LED shows, in a few words: "off", "blink red", "lamp test".
std::string LedShows(const LED_ROW& a_Row);
/// Such lines as an aligned table, under the names of the columns.
std::string LedTable(const std::vector<std::vector<std::string>>& a_Lines, bool a_Color);

} // namespace BMHOST
