// Calls from a file or from standard input, one a line, in one process.
#pragma once

#include <string>
#include <vector>

namespace BMHOST {

class SESSION;

/// Words of a line, separated by blanks; '…' and "…" keep blanks inside a word, '#' begins a comment. Throws
/// USAGE_ERROR for a quote that does not end.
std::vector<std::string> SplitWords(const std::string& a_Line);

/// Makes every call of the script, "-" being standard input, and returns whether all of them returned 1. Throws
/// USAGE_ERROR naming file and line where a line cannot be meant: the calls before it were made.
bool RunScript(const std::string& a_File, SESSION& a_Session);

} // namespace BMHOST
