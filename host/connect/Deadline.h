// Until when something is waited for.
#pragma once

#include <chrono>
#include <exception>
#include <optional>

namespace bmhost {

/// None: as long as it takes.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;
Deadline DeadlineAfter(std::optional<std::chrono::milliseconds> time);

/// The deadline has passed.
class DeadlinePassed : public std::exception {};

/// Milliseconds for poll, rounded up: -1 without a deadline.
int TimeLeft(const Deadline& deadline);

/// Waits until the descriptor can do one of these things, and returns which. Throws DeadlinePassed, std::system_error.
short WaitFor(int descriptor, short events, const Deadline& deadline);

} // namespace bmhost
