// Requests and replies as ipmi_sim hands them to a module.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace BLADESIM {

/// The data bytes of a request.
using REQUEST = std::span<const uint8_t>;

/// Completion code and data; there are no data unless the code is 0.
using REPLY = std::vector<uint8_t>;

/// What ipmi_sim has room for.
constexpr size_t g_MaxReply = 36;

inline REPLY Refuse(uint8_t a_CompletionCode) {
    return {a_CompletionCode};
}

} // namespace BLADESIM
