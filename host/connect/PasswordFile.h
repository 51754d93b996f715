// Where the password for a blade elsewhere comes from.
#pragma once

#include <string>

namespace bmhost {

/// The only line of a file that nobody but its owner may read, or with "-" the next line of standard input, which a
/// terminal does not show. Throws UsageError that names the file and what is wrong with it.
std::string PasswordIn(const std::string& file);

} // namespace bmhost
