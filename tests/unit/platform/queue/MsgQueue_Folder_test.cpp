// The folder of the queues outside of a blade: where it is, and when it is refused.
#include "platform/src/queue/MsgQueue_Folder.h"

#include "bm/MsgQueue.h"
#include "platform/log/LogFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class MsgQueueFolder : public testing::Test {
protected:
    MsgQueueFolder() {
        ::mkdtemp(m_around.data());
        m_folder = m_around + "/bm_platform";
        ::setenv("XDG_RUNTIME_DIR", m_around.c_str(), 1);
    }
    ~MsgQueueFolder() override {
        ::unsetenv("XDG_RUNTIME_DIR");
        std::filesystem::remove_all(m_around);
    }

    static std::string OfTheSystem() {
        return ::geteuid() == 0 ? "/run/bm_platform" : "/run/user/" + std::to_string(::geteuid()) + "/bm_platform";
    }

    /// It is refused, with this reason in the one line.
    void IsRefused(const std::string& reason) const {
        const LogFile log;
        EXPECT_NE(0, qDrvSetInterface(0, 0));
        EXPECT_EQ(Q_ERROR_FOLDER, qStatusErrorGet());
        const std::string before = "<3> [Message Queue] no message queues in " + m_folder + ": ";
        EXPECT_THAT(log.Lines(),
                    testing::ElementsAre(testing::EndsWith(before + reason +
                                                           "; remove it or give it to this user with mode 0700, or set "
                                                           "XDG_RUNTIME_DIR to such a folder")));
    }

    std::string m_around = testing::TempDir() + "runtime-XXXXXX";
    std::string m_folder;
};

TEST_F(MsgQueueFolder, IsInTheUsersRuntimeFolderAndHisAlone) {
    ASSERT_EQ(0, qDrvSetInterface(0, 0));
    EXPECT_EQ(std::filesystem::perms::owner_all, std::filesystem::status(m_folder).permissions());
    const int queue = qQueueOpen();
    ASSERT_EQ(0, qQueueBind(queue, 0x60));
    EXPECT_TRUE(std::filesystem::exists(m_folder + "/0x60"));
    EXPECT_EQ(0, qQueueClose(queue));
}

TEST_F(MsgQueueFolder, WithoutARuntimeFolderOfTheUsersOwnIsInTheSystemsOne) {
    EXPECT_EQ(m_folder, bm_queue::QueueFolderName());
    for (const char* value : {"", "relative", "/not/there", "/etc/passwd"}) {
        ::setenv("XDG_RUNTIME_DIR", value, 1);
        EXPECT_EQ(OfTheSystem(), bm_queue::QueueFolderName()) << value;
    }
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(OfTheSystem(), bm_queue::QueueFolderName());
    if (::geteuid() != 0) return; // only root can give folders away
    ::setenv("XDG_RUNTIME_DIR", m_around.c_str(), 1);
    ASSERT_EQ(0, ::chown(m_around.c_str(), 65534, 65534));
    EXPECT_EQ(OfTheSystem(), bm_queue::QueueFolderName()) << "another user's";
}

TEST_F(MsgQueueFolder, ThatAnotherUserMadeFirstIsRefusedWithItsOwner) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give folders away";
    ASSERT_EQ(0, ::mkdir(m_folder.c_str(), 0700));
    ASSERT_EQ(0, ::chown(m_folder.c_str(), 65534, 65534));
    IsRefused(m_folder + " belongs to user 65534, not to user 0");
}

TEST_F(MsgQueueFolder, ThatIsALinkIsRefused) {
    std::filesystem::create_symlink("/tmp", m_folder);
    IsRefused(m_folder + " is not a folder");
}

TEST_F(MsgQueueFolder, ThatOthersMayWriteToOrReplaceIsRefused) {
    const std::string owner = std::to_string(::geteuid());
    ASSERT_EQ(0, ::mkdir(m_folder.c_str(), 0700));
    ASSERT_EQ(0, ::chmod(m_folder.c_str(), 0770));
    IsRefused(m_folder + " belongs to user " + owner + ", but others may write to it");
    ASSERT_EQ(0, ::chmod(m_folder.c_str(), 0700));
    ASSERT_EQ(0, ::chmod(m_around.c_str(), 01777));
    IsRefused(m_around + " belongs to user " + owner + ", but others may write to it");
}

TEST_F(MsgQueueFolder, WithALongerPathThanASocketCanHaveIsRefused) {
    const std::string longFolder = m_around + "/" + std::string(80, 'x');
    ASSERT_EQ(0, ::mkdir(longFolder.c_str(), 0700));
    ::setenv("XDG_RUNTIME_DIR", longFolder.c_str(), 1);
    m_folder = longFolder + "/bm_platform";
    IsRefused("the path is too long for a socket");
}

} // namespace
