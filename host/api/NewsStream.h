// One reader's way through the host's news, as Server-Sent Events.
#pragma once

#include "host/http/Stream.h"
#include "host/resident/ResidentHost.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace bmhost {

/// Holds at most one piece of the stream, however slow the reader is: what it has not read yet stays in the host's
/// ring. A reader that is more than the ring behind gets an event "lost" with the first id that is still there, and
/// the stream ends.
class NewsStream : public Stream {
public:
    /// @param after  begins with the events after this id; 0: with all that are kept; none: with what comes
    NewsStream(const ResidentHost& host, std::optional<uint64_t> after, std::chrono::milliseconds commentTime);

    std::size_t Next(char* to, std::size_t most) override;
    bool HasEnded() const override { return m_ended && m_piece.empty(); }
    void End() override { m_ended = true; }
    std::chrono::steady_clock::time_point NextComment() const override { return m_nextComment; }

private:
    void Fill();
    void Begin(uint64_t after);
    void Lost(uint64_t first);

    const ResidentHost& m_host;
    std::chrono::milliseconds m_commentTime;
    std::chrono::steady_clock::time_point m_nextComment;
    uint64_t m_last = 0; ///< the last event's id that is in m_piece or was
    std::string m_piece;
    std::size_t m_done = 0; ///< of m_piece
    bool m_ended = false;
};

} // namespace bmhost
