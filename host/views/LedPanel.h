// The lines of the panel of LEDs for people.
#pragma once

#include "host/output/Style.h"
#include "host/picture/Led.h"

#include <string>
#include <vector>

namespace bmhost {

/// The panel's line of an LED that was read.
std::vector<std::string> LedLine(LedPlace place, const LedRow& row);
/// Such lines as an aligned table, under the names of the columns.
std::string LedTable(const std::vector<std::vector<std::string>>& lines, const Style& style);
std::string LedTable(const std::vector<std::vector<std::string>>& lines, bool color);

/// How long ago, in the largest whole unit: "now", "12 s", "3 min", "2 h".
std::string AgeText(int64_t milliseconds);

} // namespace bmhost
