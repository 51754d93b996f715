// The standard descriptors: which of them bmhost uses, and where the adaptor's own prints go.
#pragma once

#include <string>
#include <string_view>

namespace bmhost {

/// If the caller of bmhost has closed standard input, output or error, opens them in a way that makes their use fail.
/// Otherwise a file that is opened later (a log, for example) would take the number and receive the output.
void KeepStandardDescriptors();

/// Returns a descriptor of the real standard input, for bmhost itself. The adaptor, and the tools that it starts, find
/// their standard input empty: they must not consume the lines of a script.
int TakeStandardInput();

/// The adaptor's prints go to standard error from now on. Returns a descriptor of the real standard output, for
/// bmhost's own lines.
int PrintsToStandardError();
/// Withholds the adaptor's prints: they are shown only if the adaptor ends the process. Returns the same as above.
int PrintsWithheld();
/// Moves what was withheld to standard error.
void ShowWithheld();
/// Drops the withheld prints.
void ForgetWithheld();
/// Returns the prints withheld so far, as they would be shown, and drops them.
std::string TakeWithheld();
/// Writes such prints to standard error; it is not an error when nobody reads them.
void ShowTaken(std::string_view prints);

/// Writes the whole text to a descriptor of standard output. Throws std::system_error.
void WriteAll(int descriptor, std::string_view text);

} // namespace bmhost
