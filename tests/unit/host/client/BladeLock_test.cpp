// One lock a blade.
#include "host/client/BladeLock.h"

#include "host/TestFolder.h"
#include "host/output/Time.h"
#include "host/words/Error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::MatchesRegex;

class BladeLockTest : public testing::Test {
protected:
    std::string Refusal() const {
        try {
            const BladeLock lock(m_place, "bmhost led set");
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }
    void MakeFolder() const { std::filesystem::create_directory(m_place.m_folder); }
    std::string Content() const {
        std::ifstream file(m_place.Lock());
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void Leave(const std::string& content) const { std::ofstream(m_place.Lock()) << content; }

    const TestFolder m_own;
    const std::string m_above = m_own.Path();
    HostPlace m_place{m_above + "/run"};
};

TEST_F(BladeLockTest, MakesItsFolderForOwnerAndGroupWhateverTheUmask) {
    const mode_t before = umask(0777);
    const BladeLock lock(m_place, "bmhostd");
    umask(before);
    struct stat folder {};
    ASSERT_EQ(0, stat(m_place.m_folder.c_str(), &folder));
    EXPECT_EQ(0750U, folder.st_mode & 07777U);
    EXPECT_EQ(GroupOfAskers(), folder.st_gid);
}

TEST_F(BladeLockTest, TellsWhoHasItInOneLine) {
    const BladeLock lock(m_place, "bmhostd");
    EXPECT_THAT(Content(), MatchesRegex(R"(\{"process":)" + std::to_string(getpid()) +
                                        R"(,"started":"[-0-9T:.]+Z","program":"bmhostd"\})"
                                        "\n"));
}

TEST_F(BladeLockTest, SecondIsRefusedWithProgramProcessAndStart) {
    const BladeLock lock(m_place, "bmhostd");
    EXPECT_THROW(BladeLock(m_place, "bmhost led set"), OtherHostError);
    EXPECT_THAT(Refusal(), MatchesRegex("another host has the blade: bmhostd, process " + std::to_string(getpid()) +
                                        ", since [-0-9T:.]+Z"));
}

TEST_F(BladeLockTest, IsFreeAgainAtItsEnd) {
    { const BladeLock lock(m_place, "bmhostd"); }
    EXPECT_EQ("", Content());
    const BladeLock lock(m_place, "bmhost led set");
    EXPECT_THAT(Content(), HasSubstr("bmhost led set"));
}

TEST_F(BladeLockTest, WhatADeadOneLeftIsNoObstacle) {
    const pid_t child = fork();
    if (child == 0) {
        new BladeLock(m_place, "bmhostd: a much longer line than that of the next one");
        raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_THAT(Content(), HasSubstr(std::to_string(child)));
    const BladeLock lock(m_place, "x");
    EXPECT_THAT(Content(), MatchesRegex("\\{[^\n]+\"program\":\"x\"\\}\n"));
}

TEST_F(BladeLockTest, WhateverStandsInAFreeFileIsNoObstacle) {
    MakeFolder();
    for (const char* content : {"nonsense", "{", "[]", R"({"process":"x"})", "\xFF\xFE"}) {
        Leave(content);
        EXPECT_EQ("", Refusal()) << content;
    }
}

TEST_F(BladeLockTest, ToolsThatItsOwnerStartsDoNotKeepIt) {
    pid_t tool = 0;
    {
        const BladeLock lock(m_place, "bmhostd");
        tool = fork();
        if (tool == 0) {
            execl("/bin/sleep", "sleep", "60", nullptr);
            _exit(1);
        }
        // The end of the lock must not fall between the tool's fork and its exec.
        const std::string name = "/proc/" + std::to_string(tool) + "/comm";
        for (std::string comm; comm != "sleep";)
            std::getline(std::ifstream(name), comm);
    }
    EXPECT_EQ("", Refusal());
    kill(tool, SIGKILL);
    waitpid(tool, nullptr, 0);
}

TEST_F(BladeLockTest, ASymbolicLinkInItsPlaceIsRefusedAndNotFollowed) {
    MakeFolder();
    const std::string victim = m_above + "/victim";
    std::ofstream(victim) << "valuable";
    std::filesystem::create_symlink(victim, m_place.Lock());
    EXPECT_THAT(Refusal(), HasSubstr("bmhost.lock: it is a symbolic link"));
    EXPECT_EQ(8U, std::filesystem::file_size(victim));
}

TEST_F(BladeLockTest, AnotherNameOfAFileIsRefusedAndNotOverwritten) {
    MakeFolder();
    const std::string victim = m_above + "/victim";
    std::ofstream(victim) << "valuable";
    std::filesystem::create_hard_link(victim, m_place.Lock());
    EXPECT_THAT(Refusal(), HasSubstr("bmhost.lock: the file has another name"));
    EXPECT_EQ(8U, std::filesystem::file_size(victim));
}

TEST_F(BladeLockTest, WhatIsNoFileIsRefused) {
    MakeFolder();
    ASSERT_EQ(0, mkfifo(m_place.Lock().c_str(), 0600));
    EXPECT_THAT(Refusal(), HasSubstr("bmhost.lock: it is no file"));
}

TEST_F(BladeLockTest, AFolderThatIsAFileOrALinkIsRefused) {
    std::ofstream(m_place.m_folder) << "x";
    EXPECT_THAT(Refusal(), HasSubstr("/run: Not a directory"));
    std::filesystem::remove(m_place.m_folder);
    std::filesystem::create_directory_symlink(m_above, m_place.m_folder);
    EXPECT_THAT(Refusal(), HasSubstr("/run: "));
    EXPECT_FALSE(std::filesystem::exists(m_above + "/bmhost.lock"));
}

TEST_F(BladeLockTest, AFolderOrFileOfSomebodyElseIsRefused) {
    MakeFolder();
    Leave("");
    ASSERT_EQ(0, chown(m_place.Lock().c_str(), 65534, 65534)) << "this test needs root";
    EXPECT_THAT(Refusal(), HasSubstr("bmhost.lock: the file belongs to user 65534"));
    ASSERT_EQ(0, chown(m_place.m_folder.c_str(), 65534, 65534));
    EXPECT_THAT(Refusal(), HasSubstr("/run: the folder belongs to user 65534"));
}

TEST_F(BladeLockTest, WhoMayNotIsToldWhoMay) {
    MakeFolder();
    ASSERT_EQ(0, chmod(m_place.m_folder.c_str(), 0));
    const uid_t before = geteuid();
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(0, seteuid(before == 0 ? nobody : before));
    const std::string refusal = Refusal();
    ASSERT_EQ(0, seteuid(before));
    EXPECT_THAT(
        refusal,
        HasSubstr(": Permission denied; only root or the folder's owner may give orders, or be the resident host"));
    ASSERT_EQ(0, chmod(m_place.m_folder.c_str(), 0700));
}

TEST_F(BladeLockTest, AFolderThatEverybodyMayChangeIsRefused) {
    MakeFolder();
    ASSERT_EQ(0, chmod(m_place.m_folder.c_str(), 0777));
    EXPECT_THAT(Refusal(), HasSubstr("everybody may change the folder"));
}

TEST_F(BladeLockTest, AFolderThatCannotBeMadeIsNamed) {
    m_place.m_folder = m_above + "/none/run";
    EXPECT_THAT(Refusal(), HasSubstr("/none/run: No such file or directory"));
}

} // namespace
