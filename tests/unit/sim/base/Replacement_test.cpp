// A file's replacement: it is the file once it is committed, and gone otherwise.
#include "sim/base/Replacement.h"

#include "sim/base/Error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

using namespace bladesim;

namespace {

class ReplacementTest : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directory(m_folder); }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string Content() const {
        std::ifstream stream(m_file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    long Files() const {
        return std::distance(std::filesystem::directory_iterator(m_folder), std::filesystem::directory_iterator());
    }

    std::string m_folder = testing::TempDir() + "replacement-" + std::to_string(::getpid());
    std::string m_file = m_folder + "/file";
};

} // namespace

TEST_F(ReplacementTest, TakesTheFilesPlaceWhenItIsComplete) {
    std::ofstream(m_file) << "old";
    {
        Replacement replacement(m_file);
        replacement.Write("new");
        EXPECT_EQ(Content(), "old");
        replacement.Commit();
    }
    EXPECT_EQ(Content(), "new");
    EXPECT_EQ(Files(), 1);
}

TEST_F(ReplacementTest, LeavesNothingWhenItIsGivenUp) {
    { Replacement(m_file).Write("new"); }
    EXPECT_EQ(Files(), 0);
}

TEST_F(ReplacementTest, HasTheRightsThatWereAskedFor) {
    for (const mode_t mode : {0600, 0640}) {
        Replacement replacement(m_file, mode);
        replacement.Commit();
        struct stat status {};
        ASSERT_EQ(::stat(m_file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, mode);
    }
}

TEST_F(ReplacementTest, NamesTheFileThatCannotBeWritten) {
    try {
        Replacement replacement(m_folder + "/none/file");
        FAIL() << "no error";
    } catch (const BladeError& error) {
        EXPECT_EQ(error.what(), m_folder + "/none/file: cannot be written: No such file or directory");
    }
}
