// For benchmarks: the middle of what several rounds gave.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

/// The upper one of two in the middle. There has to be a value.
inline double MedianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace bench
