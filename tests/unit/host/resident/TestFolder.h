// A folder of a test's own, gone with it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

class TestFolder {
public:
    TestFolder() {
        std::string path = testing::TempDir() + "resident-XXXXXX";
        EXPECT_NE(nullptr, mkdtemp(path.data()));
        m_path = path;
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(m_path); }

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};
