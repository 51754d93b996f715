// Requests and replies as ipmi_sim hands them to a module.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace bladesim {

/// The data bytes of a request.
using Request = std::span<const uint8_t>;

/// Completion code and data; there are no data unless the code is 0.
using Reply = std::vector<uint8_t>;

/// What ipmi_sim has room for.
constexpr size_t MaxReply = 36;

inline Reply Refuse(uint8_t completionCode) {
    return {completionCode};
}

} // namespace bladesim
