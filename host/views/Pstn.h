// `bmhost pstn`: what the simulated blade's PCI driver was told of the PSTN.
#pragma once

#include <string>

namespace bmhost {

/// Appends each record and each refusal, in their order, as an aligned table, or one line that says why there are none.
/// True when there is a driver to be told.
/// @param runFolder  that of the blade; null or empty outside of one
bool PstnTable(const char* runFolder, bool color, std::string& text);

} // namespace bmhost
