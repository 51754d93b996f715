// What the resident host's socket takes before it says no.
#pragma once

#include "host/http/Limits.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace bmhost {

/// A request's JSON may have m_bodySize.
struct ApiLimits : HttpLimits {
    /// A firmware image, in bytes.
    uint64_t m_imageSize = 512ULL * 1024 * 1024;
    /// For a whole image.
    std::chrono::milliseconds m_imageTime{15 * 60'000};
    /// Between two signs of life on a stream of events.
    std::chrono::milliseconds m_commentTime{15'000};
    /// Where images are kept while they are used. Empty: images are refused.
    std::string m_imageFolder;
};

} // namespace bmhost
