// Whether a thread of this process sleeps in the kernel. Shows that a call blocks, without guessing a time.
#pragma once

#include <fstream>
#include <string>
#include <unistd.h>

inline bool IsBlocked(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const auto name = line.rfind(") "); // the name before may hold anything
    return name != std::string::npos && line.compare(name + 2, 1, "S") == 0;
}
