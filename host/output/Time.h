// Points in time as texts: RFC 3339 with milliseconds, in UTC.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

/// A time of day that people and other programs compare with theirs. Durations are measured by the steady clock.
using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

WallTime WallNow();
/// "2026-11-22T09:30:00.125Z".
std::string Rfc3339(WallTime time);
/// Reads what Rfc3339 writes; nothing for any other text.
std::optional<WallTime> WallTimeOf(std::string_view text);

} // namespace bmhost
