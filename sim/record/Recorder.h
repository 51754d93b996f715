// Records every request on /dev/ipmi0 and its answer, each as a line of JSON with its time.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace bladesim {

class Recorder {
public:
    using Clock = std::chrono::steady_clock;

    /// Records nothing.
    Recorder() = default;
    /// Makes the file anew, for its owner only. Throws a BladeError.
    explicit Recorder(std::string file);

    /// Network function, command, data. `number` is the caller's; `ipmb` the address on the IPMB that it is for.
    void Request(uint64_t number, unsigned opener, std::span<const uint8_t> bytes, std::optional<uint8_t> ipmb);
    /// Completion code and data.
    void Answer(uint64_t number, std::span<const uint8_t> bytes);

private:
    /// A line is there whole or not at all, whatever becomes of the process. Without room the recording ends.
    void Write(const std::string& line);
    double Time() const;

    std::string m_file;
    bm_dev::UniqueFd m_fd;
    Clock::time_point m_start = Clock::now();
    int64_t m_size = 0;
};

} // namespace bladesim
