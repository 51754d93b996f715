// The standard descriptors: what of them is bmhost's, and where the adaptor's own prints go.
#pragma once

#include <string>
#include <string_view>

namespace bmhost {

/// Opens what the caller of bmhost has closed of standard input, output and error, in a way that its use still fails:
/// no file that is opened later (a log, say) may take the number and get the output.
void KeepStandardDescriptors();

/// Returns a descriptor of the real standard input, for bmhost's own reading. The adaptor, and the tools that it
/// starts, find theirs empty: they must not eat the lines of a script.
int TakeStandardInput();

/// The adaptor's prints go to standard error from now on. Returns a descriptor of the real standard output, for
/// bmhost's own lines.
int PrintsToStandardError();
/// They are withheld: only a process that the adaptor ends shows them. Returns as above.
int PrintsWithheld();
/// Moves what was withheld to standard error.
void ShowWithheld();
/// Drops what was withheld: nobody will want it any more.
void ForgetWithheld();
/// Instead of showing it: what was withheld up to now, as it would be shown. It is forgotten.
std::string TakeWithheld();
/// Shows on standard error what was taken; whether somebody reads it does not matter.
void ShowTaken(std::string_view prints);

/// Writes the whole text to a descriptor of standard output. Throws std::system_error.
void WriteAll(int descriptor, std::string_view text);

} // namespace bmhost
