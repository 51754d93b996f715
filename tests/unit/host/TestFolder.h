// A folder of a test's own, gone with it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

class TestFolder {
public:
    TestFolder() : m_path(std::filesystem::temp_directory_path() / "bmhost-test-XXXXXX") {
        if (mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("mkdtemp " + m_path);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};
