// What the resident host is good for, on a full blade: a command that asks it compared with one that loads an adaptor
// of its own; a hundred readers of the picture while the controller is frozen compared with the same while it answers;
// and what memory it keeps after many sweeps of the LEDs.
#include "bench/Asking.h"
#include "bench/InBlade.h"
#include "bench/Median.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using bench::Asking;
using bench::Fail;
using bench::Host;
using bench::Part;
using bench::Ran;
using bench::Words;

constexpr std::size_t Commands = 31;
constexpr std::size_t ReaderRounds = 7;
constexpr std::size_t Readers = 100;
constexpr std::size_t Reads = 20;
constexpr int MemoryReadings = 400;
constexpr uint64_t FirstSweeps = 100;
constexpr uint64_t UsualSweeps = 100000;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void MeasureCommands() {
    const Host host({});
    std::vector<double> asking;
    std::vector<double> loading;
    std::vector<double> ratios;
    for (std::size_t i = 0; i < Commands; ++i) {
        const auto once = [](std::vector<double>& times, const Words& words) {
            const auto start = Clock::now();
            Ran(words);
            times.push_back(SecondsSince(start));
        };
        once(asking, {BM_BIN_DIR "/bmhost", "status", "--json"});
        once(loading, {BM_BIN_DIR "/bmhost", "status", "--json", "--direct"});
        ratios.push_back(asking.back() / loading.back());
    }
    std::printf("\nbmhost status on a full blade, medians of %zu commands\n", Commands);
    std::printf("asking the resident host: %.2f ms, with an adaptor of its own: %.2f ms\n",
                bench::MedianOf(asking) * 1e3, bench::MedianOf(loading) * 1e3);
    std::printf("ratio: %.3f\n", bench::MedianOf(ratios));
}

/// How long the slowest of the readers took.
double SlowestReader() {
    std::vector<double> times(Readers);
    std::vector<std::thread> threads;
    for (double& time : times) {
        threads.emplace_back([&time] {
            Asking reader;
            if (!reader.Connected()) Fail("a reader is not let in");
            const auto start = Clock::now();
            for (std::size_t i = 0; i < Reads; ++i)
                reader.Get("/v1/blade");
            time = SecondsSince(start);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    return *std::max_element(times.begin(), times.end());
}

void MeasureReaders() {
    const Host host({"--sweep", "1"});
    std::vector<double> answering;
    std::vector<double> frozen;
    std::vector<double> ratios;
    for (std::size_t i = 0; i < ReaderRounds; ++i) {
        answering.push_back(SlowestReader());
        Ran({BM_BIN_DIR "/bladesim", "fault", "add", "2c ??", "lost"}); // no reply to PICMG, and so the LEDs' neither
        std::this_thread::sleep_for(std::chrono::milliseconds(200));    // until the sweep has met it
        frozen.push_back(SlowestReader());
        Ran({BM_BIN_DIR "/bladesim", "fault", "clear"});
        Ran({BM_BIN_DIR "/bladesim", "fault", "release"});
        ratios.push_back(frozen.back() / answering.back());
    }
    std::printf("\n%zu readers of the whole picture, %zu times each, the slowest of them, medians of %zu rounds\n",
                Readers, Reads, ReaderRounds);
    std::printf("controller answers: %.1f ms, controller frozen: %.1f ms\n", bench::MedianOf(answering) * 1e3,
                bench::MedianOf(frozen) * 1e3);
    std::printf("ratio: %.3f\n", bench::MedianOf(ratios));
}

void WaitForSweeps(uint64_t count) {
    while (Part("controller")["sweeps"].get<uint64_t>() < count)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

// While it makes a picture the host has two of them, so one reading alone says less.
unsigned long long MostMemory(const Host& host) {
    unsigned long long most = 0;
    for (int i = 0; i < MemoryReadings; ++i) {
        most = std::max<unsigned long long>(most, host.AnonymousMemory());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return most;
}

uint64_t MostSweeps() {
    const char* const text = std::getenv("RESIDENT_BENCH_SWEEPS");
    return text != nullptr ? std::max(FirstSweeps, static_cast<uint64_t>(std::atoll(text))) : UsualSweeps;
}

void MeasureMemory() {
    const Host host({"--sweep", "0"}); // without a pause
    bench::FillTheRings();
    const auto before = Part("controller")["sweeps"].get<uint64_t>();
    std::printf(
        "\nThe resident host's memory of its own (RssAnon), with all news, requests and lines of its log that it ever keeps;\n"
        "the most of 2 s\n");
    const uint64_t most = MostSweeps();
    for (uint64_t sweeps = FirstSweeps; sweeps <= most; sweeps *= 10) {
        WaitForSweeps(before + sweeps);
        std::printf("after %6llu more sweeps: %llu KiB\n", static_cast<unsigned long long>(sweeps), MostMemory(host));
    }
}

} // namespace

// Ignores arguments that are meant for other benchmark programs.
int main(int count, char** arguments) {
    if (bench::IsInBlade(count, arguments)) {
        const std::string what = arguments[2];
        if (what == "commands") MeasureCommands();
        if (what == "readers") MeasureReaders();
        if (what == "memory") MeasureMemory();
        std::fflush(stdout);
        return 0;
    }
    return bench::RunInBlade("full", {}, "commands") && bench::RunInBlade("full", {"--timeout", "0"}, "readers") &&
                   bench::RunInBlade("front-board-only", {}, "memory")
               ? 0
               : 1;
}
