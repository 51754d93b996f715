// For benchmarks: the program runs itself again in a simulated blade.
#pragma once

#include <string>

namespace bench {

/// A blade file, or the name of one that came with bladesim. The inner program prints to standard output. False when it
/// did not end with status 0.
bool RunInBlade(const std::string& blade);

/// Whether this is the inner program, by the arguments of main. It is ended by SIGALRM when it takes more than five
/// minutes.
bool IsInBlade(int count, char** arguments);

} // namespace bench
