// What the resident host's socket takes before it says no.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace bmhost {

struct ApiLimits {
    /// Clients that are connected at once. A few more are answered with 503; the others wait until they are accepted.
    unsigned m_connections = 128;
    /// Of these, readers of events.
    unsigned m_eventReaders = 32;
    /// Calls and orders that the host has not answered, those of clients that have gone included.
    unsigned m_asked = 64;
    /// The memory of a connection, in bytes: request line and headers must fit in it, with room to spare.
    std::size_t m_headerMemory = 32 * 1024;
    /// A request's JSON, in bytes.
    std::size_t m_bodySize = 64 * 1024;
    /// A firmware image, in bytes.
    uint64_t m_imageSize = 512ULL * 1024 * 1024;
    /// From the connection or the last answer until a request has come whole, and between two pieces of an image.
    std::chrono::milliseconds m_idleTime{60'000};
    /// For a whole image.
    std::chrono::milliseconds m_imageTime{15 * 60'000};
    /// Within this time a client takes an answer, a reader of events the next piece.
    std::chrono::milliseconds m_answerTime{30'000};
    /// Between two signs of life on a stream of events.
    std::chrono::milliseconds m_commentTime{15'000};
    /// Where images are kept while they are used. Empty: images are refused.
    std::string m_imageFolder;
};

} // namespace bmhost
