// Which body of a request is taken, and where it goes.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace bmhost {

/// Takes the pieces of one body; without the end of it, its destructor leaves nothing. Used by one thread at a time.
class BodySink {
public:
    virtual ~BodySink() = default;

    /// Throws std::exception when the bytes cannot be kept; the client is told as 507.
    virtual void Write(const void* data, std::size_t size) = 0;
};

struct BodyPlan {
    /// A body is refused with 400.
    static BodyPlan None() { return {}; }
    /// It comes as Request::m_body.
    /// @param most       bytes; more are refused with 413 before they come
    /// @param mediaType  of a body that is not empty; others are refused with 415. Empty: any.
    static BodyPlan Whole(uint64_t most, std::string mediaType = {}) {
        return {true, most, std::move(mediaType), nullptr, {}};
    }
    /// It goes to the sink, which comes as Request::m_sink, as it arrives.
    /// @param time  for all of it; between two pieces HttpLimits::m_idleTime may pass
    static BodyPlan Pieces(std::unique_ptr<BodySink> sink, uint64_t most, std::chrono::milliseconds time) {
        return {true, most, {}, std::move(sink), time};
    }

    bool m_taken = false;
    uint64_t m_most = 0;
    std::string m_mediaType;
    std::unique_ptr<BodySink> m_sink;
    std::chrono::milliseconds m_time{0};
};

} // namespace bmhost
