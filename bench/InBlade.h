// For benchmarks: the program runs itself again in a simulated blade.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// A blade file, or the name of one that came with bladesim. The inner program prints to standard output. False when it
/// did not end with status 0.
/// @param options  of bladesim, besides the blade
/// @param what     the inner program's argument after its mark
bool RunInBlade(const std::string& blade, const std::vector<std::string>& options = {}, const std::string& what = {});

/// Whether this is the inner program, by the arguments of main. It is ended by SIGALRM when it takes more than five
/// minutes.
bool IsInBlade(int count, char** arguments);

} // namespace bench
