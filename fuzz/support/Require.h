// How a target says that a property does not hold: libFuzzer keeps the input of whoever aborts.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzzing {

/// Ends the process with these words unless the property holds.
inline void Require(bool holds, const std::string& words) {
    if (holds) return;
    fprintf(stderr, "FINDING: %s\n", words.c_str());
    abort();
}

} // namespace fuzzing
