// A file that decides who may come in: who may have written it, and how it is replaced.
#include "host/accounts/GuardedFile.h"

#include "host/accounts/AccountParts.h"
#include "host/resident/Latch.h"
#include "tests/SizeLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <memory>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* NoGroup = "no-such-group";

struct stat StateOf(const std::string& path) {
    struct stat state {};
    EXPECT_EQ(0, lstat(path.c_str(), &state)) << path;
    return state;
}

class GuardedFileTest : public testing::Test {
protected:
    std::string ReadError() {
        return ErrorOf([this] { ReadGuarded(m_path); });
    }
    std::string ReasonForMode(mode_t mode) {
        WriteFile(m_path, "text\n", mode);
        return ReadError();
    }
    std::size_t Files() const {
        const std::filesystem::directory_iterator files(m_folder.Path());
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

    TestFolder m_folder;
    const std::string m_path = m_folder.Path() + "/file";
};

TEST_F(GuardedFileTest, IsReadAsItIs) {
    EXPECT_EQ(std::nullopt, ReadGuarded(m_path));
    WriteFile(m_path, std::string("text\0\n", 6), 0640);
    EXPECT_EQ(std::string("text\0\n", 6), ReadGuarded(m_path));
}

TEST_F(GuardedFileTest, IsRefusedWhenOthersMayWriteItOrEverybodyMayReadIt) {
    for (const mode_t mode : {0400, 0600, 0640, 0440})
        EXPECT_EQ("no error", ReasonForMode(mode)) << std::oct << mode;
    for (const mode_t mode : {0660, 0620, 0602, 0642})
        EXPECT_EQ(m_path + ": others than its owner may write to it; `chmod go-w` ends that", ReasonForMode(mode));
    EXPECT_EQ(m_path + ": everybody may read it; `chmod o-r` ends that", ReasonForMode(0644));
}

TEST_F(GuardedFileTest, IsRefusedWhenItBelongsToAStranger) {
    WriteFile(m_path, "text\n");
    if (chown(m_path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        // Only root may give files away: another user meets this with a file of root's parent process instead.
        ASSERT_EQ(EPERM, errno);
        return;
    }
    EXPECT_EQ(m_path + ": it belongs to user 12345", ReadError());
}

TEST_F(GuardedFileTest, IsRefusedWhenItIsNoPlainFile) {
    std::filesystem::create_directory(m_path);
    EXPECT_EQ(m_path + ": it is no plain file", ReadError());
    std::filesystem::remove(m_path);
    ASSERT_EQ(0, mkfifo(m_path.c_str(), 0600));
    EXPECT_EQ(m_path + ": it is no plain file", ReadError());
    std::filesystem::remove(m_path);
    WriteFile(m_folder.Path() + "/other", "text\n");
    std::filesystem::create_symlink("other", m_path);
    EXPECT_EQ(m_path + ": it is a symbolic link", ReadError());
}

TEST_F(GuardedFileTest, IsRefusedInAFolderThatEverybodyMayWriteTo) {
    WriteFile(m_path, "text\n");
    chmod(m_folder.Path().c_str(), 0777);
    const std::string reason =
        m_folder.Path() + ": everybody may write to the folder of the file; `chmod o-w` ends that";
    EXPECT_EQ(reason, ReadError());
    EXPECT_EQ(reason, ErrorOf([this] { ReplaceGuarded(m_path, "new\n", NoGroup); }));
    EXPECT_EQ("text\n", TextIn(m_path));
    chmod(m_folder.Path().c_str(), 01777);
    EXPECT_EQ("no error", ReadError());
}

TEST_F(GuardedFileTest, IsRefusedWhenItIsFarTooLarge) {
    WriteFile(m_path, std::string(1024 * 1024, 'x'));
    EXPECT_EQ("no error", ReadError());
    WriteFile(m_path, std::string(1024 * 1024 + 1, 'x'));
    EXPECT_EQ(m_path + ": it is larger than 1048576 bytes", ReadError());
}

TEST_F(GuardedFileTest, NewOneIsForItsOwnerWhereTheGroupIsNotThere) {
    const mode_t before = umask(0);
    ReplaceGuarded(m_path, "text\n", NoGroup);
    umask(before);
    EXPECT_EQ("text\n", TextIn(m_path));
    EXPECT_EQ(0600U, StateOf(m_path).st_mode & 07777U);
    EXPECT_EQ(1U, Files());
}

TEST_F(GuardedFileTest, GroupMayReadItWhateverTheUmask) {
    std::vector<char> texts(65536);
    group own{};
    group* found = nullptr;
    ASSERT_EQ(0, getgrgid_r(getegid(), &own, texts.data(), texts.size(), &found));
    ASSERT_NE(nullptr, found);
    const mode_t before = umask(0077);
    ReplaceGuarded(m_path, "text\n", own.gr_name);
    umask(before);
    EXPECT_EQ(0640U, StateOf(m_path).st_mode & 07777U);
    EXPECT_EQ(getegid(), StateOf(m_path).st_gid);
}

// An administrator may have let another group's program read it.
TEST_F(GuardedFileTest, GroupThatMayReadItMayDoSoAfterwards) {
    WriteFile(m_path, "text\n", 0640);
    ReplaceGuarded(m_path, "new\n", NoGroup);
    EXPECT_EQ("new\n", TextIn(m_path));
    EXPECT_EQ(0640U, StateOf(m_path).st_mode & 07777U);
}

TEST_F(GuardedFileTest, StaysAsItIsWhenTheNewOneCannotBeWritten) {
    WriteFile(m_path, "text\n");
    {
        const SizeLimit limit(100);
        EXPECT_THAT(ErrorOf([this] { ReplaceGuarded(m_path, std::string(1000, 'x'), NoGroup); }),
                    StartsWith(m_path + ".new: File too large"));
    }
    EXPECT_EQ("text\n", TextIn(m_path));
    EXPECT_EQ(1U, Files());
}

TEST_F(GuardedFileTest, WhatAKilledProcessLeftIsNoObstacleAndIsNotFollowed) {
    WriteFile(m_folder.Path() + "/victim", "precious\n");
    std::filesystem::create_symlink("victim", m_path + ".new");
    ReplaceGuarded(m_path, "text\n", NoGroup);
    EXPECT_EQ("text\n", TextIn(m_path));
    EXPECT_EQ("precious\n", TextIn(m_folder.Path() + "/victim"));
}

TEST_F(GuardedFileTest, ReaderOfTheOldOneKeepsItWhole) {
    WriteFile(m_path, "text\n");
    std::ifstream reader(m_path);
    ReplaceGuarded(m_path, "something longer\n", NoGroup);
    std::ostringstream seen;
    seen << reader.rdbuf();
    EXPECT_EQ("text\n", seen.str());
}

TEST_F(GuardedFileTest, SaysWhatIsWrongWithAFolderThatIsNotThere) {
    const std::string path = m_folder.Path() + "/none/file";
    EXPECT_EQ(m_folder.Path() + "/none: No such file or directory",
              ErrorOf([&] { ReplaceGuarded(path, "text\n", NoGroup); }));
    EXPECT_EQ(path + ".lock: No such file or directory", ErrorOf([&] { const GuardLock lock(path); }));
    EXPECT_EQ(std::nullopt, ReadGuarded(path));
}

TEST_F(GuardedFileTest, LockIsHeldByOneAtATime) {
    auto first = std::make_unique<GuardLock>(m_path);
    EXPECT_EQ(0600U, StateOf(m_path + ".lock").st_mode & 07777U);
    const bm_dev::UniqueFd other(open((m_path + ".lock").c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_NE(0, flock(other.Get(), LOCK_EX | LOCK_NB));
    EXPECT_EQ(EWOULDBLOCK, errno);
    Latch got;
    std::thread second([&] {
        const GuardLock lock(m_path);
        got.Open();
    });
    EXPECT_FALSE(got.IsOpen());
    first.reset();
    got.Wait();
    second.join();
    EXPECT_EQ(0, flock(other.Get(), LOCK_EX | LOCK_NB));
}

TEST_F(GuardedFileTest, LockThatIsASymbolicLinkIsRefused) {
    std::filesystem::create_symlink("other", m_path + ".lock");
    EXPECT_EQ(m_path + ".lock: it is a symbolic link", ErrorOf([this] { const GuardLock lock(m_path); }));
    EXPECT_THAT(ErrorOf([this] { const GuardLock lock(m_path); }), HasSubstr("link"));
}

} // namespace
