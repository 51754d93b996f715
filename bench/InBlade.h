// For benchmarks: the program runs itself again in a simulated blade.
#pragma once

#include <string>

namespace BENCH {

/// The argument by which the program knows that it runs inside.
constexpr char g_Inside[] = "--inside";

/// A blade file, or the name of one that came with bladesim. What the inner program prints comes on standard output.
/// False when it did not end with status 0.
bool RunInBlade(const std::string& a_Blade);

} // namespace BENCH
