// The system() of the test program: keeps the command lines, and runs them or answers as told.
#pragma once

#include "fake/FakeBoard.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

class FAKE_SYSTEM {
public:
    // Set these while nothing runs.
    std::deque<int> m_Results{}; ///< of the next calls, which then run nothing; the last one is kept
    bool m_bReal = false;        ///< without results: run the command; otherwise each call gives 0
    std::function<void(const std::string& a_Command)> m_OnCall{}; ///< runs within each call, on its thread

    std::vector<std::string> Commands() const;
    void Reset();
};

FAKE_SYSTEM& FakeSystem();
