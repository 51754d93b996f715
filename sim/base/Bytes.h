// The bytes of a request, a reply or an image.
#pragma once

#include <cstdint>
#include <vector>

namespace bladesim {

using Bytes = std::vector<uint8_t>;

} // namespace bladesim
