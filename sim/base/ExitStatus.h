// What bladesim exits with when it is not the command's own status.
#pragma once

namespace BLADESIM {

constexpr int g_BadUsage = 2;
/// The blade could not be brought up, or could not do what was asked of it.
constexpr int g_NotBroughtUp = 3;

} // namespace BLADESIM
