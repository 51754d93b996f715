// `bmhost account`: adds, removes, lists accounts and changes their passwords.
#pragma once

#include <string>
#include <vector>

namespace bmhost {

/// @param words  what follows `account` on the command line
/// @return the program's status. Throws UsageError for words that cannot be meant, and std::runtime_error that names
///         operation, value and reason.
int AccountCommand(const std::vector<std::string>& words);

} // namespace bmhost
