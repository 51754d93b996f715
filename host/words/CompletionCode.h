// Completion codes of an IPMI controller by name.
#pragma once

#include <string>

namespace bmhost {

/// "0xc1 (invalid command)": the generic codes of the IPMI specification, table 5-2; a code's range for any other.
std::string CompletionCodeText(int code);

} // namespace bmhost
