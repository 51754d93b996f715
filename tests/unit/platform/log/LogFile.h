// The host's log in a file of its own, for one test.
#pragma once

#include "bm_dev/HostLog.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

class LOG_FILE {
public:
    LOG_FILE() {
        BM_PLATFORM::LogToConsole(false);
        BM_PLATFORM::LogToFile(m_Path);
    }
    LOG_FILE(const LOG_FILE&) = delete;
    LOG_FILE& operator=(const LOG_FILE&) = delete;
    ~LOG_FILE() { std::remove(m_Path.c_str()); }

    const std::string& Path() const { return m_Path; }

    std::vector<std::string> Lines() const {
        std::ifstream l_File(m_Path);
        std::vector<std::string> l_Lines;
        for (std::string l_Line; std::getline(l_File, l_Line);)
            l_Lines.push_back(l_Line);
        return l_Lines;
    }

private:
    const std::string m_Path = testing::TempDir() + "bm-log-" + std::to_string(getpid()) + "-" +
                               testing::UnitTest::GetInstance()->current_test_info()->name();
};
