// Answers requests from a recording: each with the next answer that it has to the same request.
#pragma once

#include "sim/base/Bytes.h"
#include "sim/record/Recording.h"

#include <deque>
#include <functional>
#include <map>

namespace bladesim {

/// "Command response could not be provided": to a request that the recording has no answer for.
constexpr uint8_t NotRecorded = 0xCE;

struct ReplayedAnswer {
    std::optional<std::vector<uint8_t>> m_reply; ///< absent: it was never answered
    std::chrono::microseconds m_delay{};
};

class Replay {
public:
    /// The name of a command, or "".
    using NameCommand = std::function<std::string(uint8_t netFn, uint8_t command)>;
    using Tell = std::function<void(const std::string&)>;

    /// `tell` takes a line about the first request that differs.
    Replay(Recording recording, NameCommand name, Tell tell);

    ReplayedAnswer Answer(const Bytes& request);

private:
    void TellDifference(const Bytes& request);
    std::string Describe(const Bytes& request) const;

    Recording m_recording;
    NameCommand m_name;
    Tell m_tell;
    std::map<Bytes, std::deque<size_t>> m_left; ///< by request: its exchanges that are not used yet
    uint64_t m_asked = 0;
    bool m_differs = false;
};

} // namespace bladesim
