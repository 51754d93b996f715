// Host threads that a program starts at once, for as long as its user says.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <thread>
#include <vector>

/// @param seconds  from now on, in decimal digits
inline std::chrono::steady_clock::time_point EndAfter(const char* seconds) {
    return std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(seconds));
}

/// Calls `work` with 0, 1, …, each on a thread of its own, and waits for all.
template <typename Work>
void RunThreads(size_t count, const Work& work) {
    std::vector<std::thread> threads;
    for (size_t i = 0; i < count; ++i)
        threads.emplace_back([&work, i] { work(i); });
    for (auto& thread : threads)
        thread.join();
}
