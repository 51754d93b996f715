// A run folder for the tests of tools and media software, gone with its test.
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
    ToolTest() { EXPECT_NE(::mkdtemp(m_Folder.data()), nullptr); }
    ~ToolTest() override { std::filesystem::remove_all(m_Folder); }

    std::string File(const std::string& a_Name) const { return m_Folder + "/" + a_Name; }
    void Write(const std::string& a_Name, const std::string& a_Text) const {
        BLADESIM::ReplaceFile(File(a_Name), a_Text);
    }
    std::string Read(const std::string& a_Name) const { return BLADESIM::ReadFile(File(a_Name)); }

    /// What is thrown, without the folder.
    std::string ErrorOf(const std::function<void()>& a_Call) const {
        try {
            a_Call();
        } catch (const BLADESIM::BLADE_ERROR& l_Error) {
            const std::string l_Text = l_Error.what();
            return l_Text.starts_with(m_Folder + "/") ? l_Text.substr(m_Folder.size() + 1) : l_Text;
        }
        return "no error";
    }

    std::string m_Folder = (std::filesystem::temp_directory_path() / "bladesim-XXXXXX").string();
};
