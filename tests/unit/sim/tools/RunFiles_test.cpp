// The files of the run folder: replaced whole, extended by lines, locked.
#include "sim/tools/RunFiles.h"

#include "ToolTest.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>

using namespace bladesim;
using testing::EndsWith;

using RunFiles = ToolTest;

TEST_F(RunFiles, AreEmptyWhenTheyAreNotThere) {
    EXPECT_EQ(ReadFile(File("none")), "");
    EXPECT_FALSE(FileExists(File("none")));
}

TEST_F(RunFiles, HoldWhatTheyWereReplacedBy) {
    ReplaceFile(File("a"), "first\nsecond\n");
    ReplaceFile(File("a"), "third\n");
    EXPECT_EQ(ReadFile(File("a")), "third\n");
}

TEST_F(RunFiles, LeaveNothingBesideThemselvesWhenTheyAreReplaced) {
    ReplaceFile(File("a"), "x");
    size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(m_folder))
        ++files;
    EXPECT_EQ(files, 1U);
}

TEST_F(RunFiles, TakeLinesAtTheirEnd) {
    AppendLine(File("a"), "one");
    AppendLine(File("a"), "two");
    EXPECT_EQ(ReadFile(File("a")), "one\ntwo\n");
}

TEST_F(RunFiles, AreRemovedTwiceWithoutError) {
    AppendLine(File("a"), "one");
    RemoveFile(File("a"));
    EXPECT_EQ(ErrorOf([&] { RemoveFile(File("a")); }), "no error");
    EXPECT_FALSE(FileExists(File("a")));
}

TEST_F(RunFiles, AreNamedWhenTheyCannotBeWritten) {
    EXPECT_THAT(ErrorOf([&] { AppendLine(File("none/a"), "x"); }), EndsWith("none/a: No such file or directory"));
    EXPECT_THAT(ErrorOf([&] { MoveFile(File("none"), File("b")); }), EndsWith("b: No such file or directory"));
}

TEST_F(RunFiles, AreNotReachedThroughLinks) {
    std::filesystem::create_symlink(File("elsewhere"), File("a"));
    EXPECT_THAT(ErrorOf([&] { AppendLine(File("a"), "x"); }), EndsWith("a: Too many levels of symbolic links"));
    EXPECT_FALSE(FileExists(File("elsewhere")));
}

TEST_F(RunFiles, AreLockedAsLongAsTheLockIsThere) {
    const bm_dev::UniqueFd file(::open(File("lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    {
        const FileLock lock(File("lock"));
        EXPECT_NE(::flock(file.Get(), LOCK_EX | LOCK_NB), 0);
    }
    EXPECT_EQ(::flock(file.Get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(RunFiles, AreInTheFolderThatTheEnvironmentNames) {
    ::setenv("BLADESIM_RUN_DIR", m_folder.c_str(), 1);
    EXPECT_EQ(RunFolder(), m_folder);
    ::setenv("BLADESIM_RUN_DIR", "", 1);
    EXPECT_EQ(ErrorOf([] { RunFolder(); }), "this is not the inside of a blade");
    ::unsetenv("BLADESIM_RUN_DIR");
    EXPECT_EQ(ErrorOf([] { RunFolder(); }), "this is not the inside of a blade");
}
