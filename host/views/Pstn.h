// `bmhost pstn`: the PSTN records that the simulated blade's PCI driver has received.
#pragma once

#include "host/output/Style.h"

#include <string>

namespace bmhost {

/// Appends each record and each refusal, in order, as an aligned table, or one line that says why there are none. True
/// when there is a driver.
/// @param runFolder  the blade's run folder; null or empty outside a blade
bool PstnTable(const char* runFolder, const Style& style, std::string& text);
/// The same as one line of JSON: the records as they are in the file, null without a driver.
bool PstnJson(const char* runFolder, std::string& text);

} // namespace bmhost
