// Reads what was recorded on /dev/ipmi0.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {

/// The key of a recording's first line, and its value.
inline constexpr char RecordingKey[] = "bladesim_recording";
constexpr int RecordingVersion = 1;

struct RecordedExchange {
    std::vector<uint8_t> m_request;              ///< network function, command, data
    std::optional<std::vector<uint8_t>> m_reply; ///< completion code and data; absent: it was never answered
    /// How long the answer took from when the driver could send the request: one is under way at a time.
    std::chrono::microseconds m_delay{};
};

struct Recording {
    std::string m_file;
    std::vector<RecordedExchange> m_exchanges; ///< in the order of the requests; none of those to the IPMB
};

/// Throws a BladeError with file and line.
Recording ReadRecording(const std::string& file);

} // namespace bladesim
