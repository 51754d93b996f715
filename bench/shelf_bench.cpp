// How long a shelf takes to come up, until the door of every blade answers: with one blade, and with 14.
#include "bench/Median.h"
#include "bench/Programs.h"

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t Rounds = 5;

double SecondsFor(const std::string& blades) {
    const auto start = Clock::now();
    if (bench::StatusOf(bench::Started({BM_BIN_DIR "/bladesim", "shelf", blades, "--", "true"})) != 0)
        bench::Fail("a shelf of " + blades + " does not come up");
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace

// Ignores arguments that are meant for other benchmark programs.
int main() {
    std::printf("\nA shelf comes up, runs `true` and is taken down, medians of %zu rounds\n", Rounds);
    for (const char* const blades : {"1", "14"}) {
        std::vector<double> times;
        for (std::size_t round = 0; round < Rounds; ++round)
            times.push_back(SecondsFor(blades));
        std::printf("%2s blades: %.2f s\n", blades, bench::MedianOf(times));
    }
    return 0;
}
