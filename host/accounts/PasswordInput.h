// Where a new password comes from: a terminal, a file, standard input.
#pragma once

#include <string>

namespace bmhost {

/// @param account  whose it is, for the question
/// @param file     its only line is the password; "-": that of standard input; empty: it is asked for twice at the
///                 terminal, which does not show it
/// Throws UsageError for a password that is too short or cannot be one, and where there is neither file nor terminal;
/// std::runtime_error when it cannot be read.
std::string PasswordFor(const std::string& account, const std::string& file);

} // namespace bmhost
