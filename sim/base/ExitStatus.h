// The statuses that bladesim exits with when it does not pass the command's on.
#pragma once

namespace bladesim {

constexpr int BadUsage = 2;
/// The blade could not be brought up, or could not do what was asked of it.
constexpr int NotBroughtUp = 3;

} // namespace bladesim
