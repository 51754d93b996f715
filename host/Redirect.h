// Where the adaptor's own prints on standard output go.
#pragma once

namespace BMHOST {

/// They go to standard error from now on. Returns a descriptor of the real standard output, for bmhost's own lines.
int PrintsToStandardError();
/// They are withheld: only a process that the adaptor ends shows them. Returns as above.
int PrintsWithheld();
/// Copies what was withheld to standard error.
void ShowWithheld();

} // namespace BMHOST
