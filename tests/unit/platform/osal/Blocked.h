// Whether a thread of this process sleeps in the kernel: shows that a call blocks, without guessing a time.
#pragma once

#include <fstream>
#include <string>
#include <unistd.h>

inline bool IsBlocked(pid_t a_Thread) {
    std::ifstream l_File("/proc/self/task/" + std::to_string(a_Thread) + "/stat");
    std::string l_Line;
    std::getline(l_File, l_Line);
    const auto l_Name = l_Line.rfind(") "); // the name before may hold anything
    return l_Name != std::string::npos && l_Line.compare(l_Name + 2, 1, "S") == 0;
}
