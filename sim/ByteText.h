// Any bytes as the text of a JSON file, which is UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace BLADESIM {

/// Bytes above 0x7F become U+0080 to U+00FF.
std::string Utf8OfBytes(std::string_view a_Bytes);

} // namespace BLADESIM
