// The host's log in its own file, for one test.
#pragma once

#include "bm_dev/HostLog.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

class LogFile {
public:
    LogFile() {
        bm_dev::LogToConsole(false);
        bm_dev::LogToFile(m_path);
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile() { std::remove(m_path.c_str()); }

    const std::string& Path() const { return m_path; }

    std::vector<std::string> Lines() const {
        std::ifstream file(m_path);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

private:
    const std::string m_path = testing::TempDir() + "bm-log-" + std::to_string(getpid()) + "-" +
                               testing::UnitTest::GetInstance()->current_test_info()->name();
};
