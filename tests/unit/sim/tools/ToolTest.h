// A run folder for the tests of tools and media software, removed after each test.
#pragma once

#include "sim/base/Error.h"
#include "sim/tools/RunFiles.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>

class ToolTest : public testing::Test {
protected:
    ToolTest() { EXPECT_NE(::mkdtemp(m_folder.data()), nullptr); }
    ~ToolTest() override { std::filesystem::remove_all(m_folder); }

    std::string File(const std::string& name) const { return m_folder + "/" + name; }
    void Write(const std::string& name, const std::string& text) const { bladesim::ReplaceFile(File(name), text); }
    std::string Read(const std::string& name) const { return bladesim::ReadFile(File(name)); }

    /// The thrown error, without the folder.
    std::string ErrorOf(const std::function<void()>& call) const {
        try {
            call();
        } catch (const bladesim::BladeError& error) {
            const std::string text = error.what();
            return text.starts_with(m_folder + "/") ? text.substr(m_folder.size() + 1) : text;
        }
        return "no error";
    }

    std::string m_folder = (std::filesystem::temp_directory_path() / "bladesim-XXXXXX").string();
};
