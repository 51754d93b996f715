// `bmhost pstn`: what the simulated blade's PCI driver was told of the PSTN.
#pragma once

#include <string>

namespace BMHOST {

/// Appends each record and each refusal, in their order, as an aligned table, or one line that says why there are none.
/// True when there is a driver to be told.
/// @param a_RunFolder  that of the blade; null or empty outside of one
bool PstnTable(const char* a_RunFolder, bool a_Color, std::string& a_Text);

} // namespace BMHOST
