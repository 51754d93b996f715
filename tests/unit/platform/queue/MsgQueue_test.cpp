// The message queue over real sockets: exchange, bounds, what is left of dead processes, hostile datagrams.
#include "bm/MsgQueue.h"

#include "platform/log/LogFile.h"
#include "platform/src/queue/MsgQueue_Folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <sys/file.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr uint32_t HERE = 0x60;
constexpr uint32_t THERE = 0x40;
constexpr uint32_t NUMBER_FIELD = 0x300000;
constexpr uint32_t TEXT_FIELD = 0x28000C;

struct FREE_MESSAGE {
    void operator()(qMsg* a_Message) const { qMsgFree(a_Message); }
};
using MESSAGE = std::unique_ptr<qMsg, FREE_MESSAGE>;

class MsgQueue : public testing::Test {
protected:
    MsgQueue() {
        ::mkdtemp(m_Folder.data());
        ::setenv("BLADESIM_RUN_DIR", m_Folder.c_str(), 1);
        m_Here = Bound(HERE);
        m_There = Bound(THERE);
    }
    ~MsgQueue() override {
        qQueueClose(m_Here);
        qQueueClose(m_There);
        ::unsetenv("BLADESIM_RUN_DIR");
        std::filesystem::remove_all(m_Folder);
    }

    static int Bound(uint32_t a_Address) {
        EXPECT_EQ(0, qDrvSetInterface(0, 0));
        const int l_Queue = qQueueOpen();
        EXPECT_GE(l_Queue, 0);
        EXPECT_EQ(0, qQueueBind(l_Queue, a_Address)) << qStatusErrorName(qStatusErrorGet());
        return l_Queue;
    }

    static MESSAGE NewMessage(uint32_t a_Type = 0x800071) { return MESSAGE(qMsgAllocate(a_Type, HERE, THERE)); }

    static MESSAGE Read(int a_Queue) {
        qMsg* l_Message = nullptr;
        qMsgRead(a_Queue, &l_Message);
        return MESSAGE(l_Message);
    }

    static bool IsReadable(int a_Queue) {
        fd_set l_Set;
        FD_ZERO(&l_Set);
        FD_SET(a_Queue, &l_Set);
        timeval l_Now{};
        return ::select(a_Queue + 1, &l_Set, nullptr, nullptr, &l_Now) == 1;
    }

    std::string FileOf(const char* a_Address) const { return m_Folder + "/queues/" + a_Address; }

    /// A stranger's bytes for the queue of THERE.
    void SendRaw(const std::vector<uint8_t>& a_Bytes) const {
        sockaddr_un l_Name{};
        l_Name.sun_family = AF_UNIX;
        FileOf("0x40").copy(l_Name.sun_path, sizeof(l_Name.sun_path) - 1);
        ASSERT_EQ(static_cast<ssize_t>(a_Bytes.size()), ::sendto(m_Here, a_Bytes.data(), a_Bytes.size(), 0,
                                                                 reinterpret_cast<sockaddr*>(&l_Name), sizeof(l_Name)));
    }

    std::string m_Folder = testing::TempDir() + "queues-XXXXXX";
    int m_Here = -1;
    int m_There = -1;
};

TEST_F(MsgQueue, MessageArrivesWithItsTypeSourceAndFields) {
    const MESSAGE l_Sent = NewMessage();
    const uint32_t l_Number = 0xCAFEBABE;
    ASSERT_EQ(0, qMsgVarFieldPut(l_Sent.get(), NUMBER_FIELD, &l_Number, sizeof(l_Number)));
    ASSERT_EQ(0, qMsgVarFieldPut(l_Sent.get(), TEXT_FIELD, "main.c", 6));
    EXPECT_FALSE(IsReadable(m_There));
    ASSERT_EQ(0, qMsgWrite(m_Here, l_Sent.get()));
    EXPECT_TRUE(IsReadable(m_There));

    const MESSAGE l_Read = Read(m_There);
    ASSERT_TRUE(l_Read);
    EXPECT_EQ(0x800071U, qMsgType(l_Read.get()));
    EXPECT_EQ(HERE, qMsgSource(l_Read.get()));
    uint32_t l_Value = 0;
    size_t l_Size = sizeof(l_Value);
    ASSERT_EQ(0, qMsgVarFieldGet(l_Read.get(), NUMBER_FIELD, &l_Value, &l_Size));
    EXPECT_EQ(l_Number, l_Value);
    EXPECT_EQ(sizeof(l_Value), l_Size);
    std::array<char, 16> l_Text{};
    l_Size = 4;
    ASSERT_EQ(0, qMsgVarFieldGet(l_Read.get(), TEXT_FIELD, l_Text.data(), &l_Size));
    EXPECT_STREQ("main", l_Text.data());
    EXPECT_EQ(6U, l_Size);
}

TEST_F(MsgQueue, MessagesComeInTheirOrder) {
    for (uint32_t l_Type = 1; l_Type <= 5; ++l_Type)
        ASSERT_EQ(0, qMsgWrite(m_Here, NewMessage(l_Type).get()));
    for (uint32_t l_Type = 1; l_Type <= 5; ++l_Type)
        EXPECT_EQ(l_Type, qMsgType(Read(m_There).get()));
}

TEST_F(MsgQueue, FieldThatIsPutAgainIsReplaced) {
    const MESSAGE l_Message = NewMessage();
    qMsgVarFieldPut(l_Message.get(), TEXT_FIELD, "first", 5);
    qMsgVarFieldPut(l_Message.get(), TEXT_FIELD, "2nd", 3);
    std::array<char, 8> l_Text{};
    size_t l_Size = l_Text.size();
    ASSERT_EQ(0, qMsgVarFieldGet(l_Message.get(), TEXT_FIELD, l_Text.data(), &l_Size));
    EXPECT_STREQ("2nd", l_Text.data());
    EXPECT_EQ(3U, l_Size);
}

TEST_F(MsgQueue, EmptyQueueGivesAnErrorAndNoMessage) {
    qMsg* l_Message = NewMessage().release();
    const MESSAGE l_Owned(l_Message);
    EXPECT_NE(0, qMsgRead(m_There, &l_Message));
    EXPECT_EQ(nullptr, l_Message);
    EXPECT_EQ(Q_ERROR_EMPTY, qStatusErrorGet());
}

TEST_F(MsgQueue, DestinationThatIsGoneGivesAnError) {
    qQueueClose(m_There);
    EXPECT_NE(0, qMsgWrite(m_Here, NewMessage().get()));
    EXPECT_EQ(Q_ERROR_NO_DESTINATION, qStatusErrorGet());
    m_There = Bound(THERE);
    EXPECT_EQ(0, qMsgWrite(m_Here, NewMessage().get()));
}

TEST_F(MsgQueue, DestinationThatDoesNotReadGivesAnErrorAndKeepsWhatItHas) {
    constexpr int l_Many = 100000;
    int l_Sent = 0;
    while (l_Sent < l_Many && qMsgWrite(m_Here, NewMessage(static_cast<uint32_t>(l_Sent) + 1).get()) == 0)
        ++l_Sent;
    ASSERT_LT(l_Sent, l_Many);
    EXPECT_EQ(Q_ERROR_FULL, qStatusErrorGet());
    for (int i = 0; i < l_Sent; ++i)
        ASSERT_EQ(static_cast<uint32_t>(i) + 1, qMsgType(Read(m_There).get()));
    EXPECT_FALSE(Read(m_There));
    EXPECT_EQ(0, qMsgWrite(m_Here, NewMessage().get()));
}

TEST_F(MsgQueue, AddressIsHeldByOneQueueAtATime) {
    const int l_Second = qQueueOpen();
    EXPECT_NE(0, qQueueBind(l_Second, THERE));
    EXPECT_EQ(Q_ERROR_ADDRESS_TAKEN, qStatusErrorGet());
    ASSERT_EQ(0, qQueueClose(m_There));
    EXPECT_EQ(0, qQueueBind(l_Second, THERE));
    m_There = l_Second;
}

TEST_F(MsgQueue, AddressOfADeadProcessIsFree) {
    const pid_t l_Child = ::fork();
    if (l_Child == 0) {
        Bound(0x77);
        ::_exit(0); // without closing: the socket's file stays
    }
    ASSERT_EQ(l_Child, ::waitpid(l_Child, nullptr, 0));
    ASSERT_TRUE(std::filesystem::exists(FileOf("0x77")));
    const int l_Queue = Bound(0x77);
    EXPECT_EQ(0, qQueueClose(l_Queue));
    EXPECT_FALSE(std::filesystem::exists(FileOf("0x77")));
}

TEST_F(MsgQueue, OtherInterfacesAreRefused) {
    EXPECT_NE(0, qDrvSetInterface(1, 0));
    EXPECT_EQ(Q_ERROR_INTERFACE, qStatusErrorGet());
    EXPECT_NE(0, qDrvSetInterface(0, 1));
}

TEST_F(MsgQueue, FolderThatOthersMayWriteToIsRefused) {
    std::filesystem::permissions(m_Folder + "/queues", std::filesystem::perms::others_write,
                                 std::filesystem::perm_options::add);
    EXPECT_NE(0, qDrvSetInterface(0, 0));
    EXPECT_EQ(Q_ERROR_FOLDER, qStatusErrorGet());
}

TEST_F(MsgQueue, FolderThatABinderDoesNotLetGoIsWaitedForWithinBoundsAndHasAnErrorOfItsOwn) {
    const LOG_FILE l_Log;
    const auto l_Wait = std::exchange(bm_queue::g_QueueLockWait, std::chrono::milliseconds(0));
    const int l_Lock = ::open(FileOf("lock").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(0, ::flock(l_Lock, LOCK_EX));
    const int l_Queue = qQueueOpen();
    EXPECT_NE(0, qQueueBind(l_Queue, 0x77));
    EXPECT_EQ(Q_ERROR_LOCKED, qStatusErrorGet());
    EXPECT_FALSE(std::filesystem::exists(FileOf("0x77")));
    EXPECT_THAT(l_Log.Lines(), testing::ElementsAre(testing::EndsWith(
                                   "<3> [Message Queue] " + FileOf("lock") + ": is locked by process " +
                                   std::to_string(::getpid()) + " (platform_tests)")));
    ::close(l_Lock);
    EXPECT_EQ(0, qQueueBind(l_Queue, 0x77));
    qQueueClose(l_Queue);
    bm_queue::g_QueueLockWait = l_Wait;
}

TEST_F(MsgQueue, FolderWhoseLockCannotBeHadIsNotUsed) {
    std::filesystem::remove(FileOf("lock"));
    std::filesystem::create_symlink("elsewhere", FileOf("lock"));
    const int l_Queue = qQueueOpen();
    EXPECT_NE(0, qQueueBind(l_Queue, 0x77));
    EXPECT_EQ(Q_ERROR_LOCKED, qStatusErrorGet());
    qQueueClose(l_Queue);
}

TEST_F(MsgQueue, MissingFieldIsAnErrorAndLeavesTheSize) {
    size_t l_Size = 4;
    uint32_t l_Value = 0;
    EXPECT_NE(0, qMsgVarFieldGet(NewMessage().get(), NUMBER_FIELD, &l_Value, &l_Size));
    EXPECT_EQ(Q_ERROR_NO_FIELD, qStatusErrorGet());
    EXPECT_EQ(4U, l_Size);
}

TEST_F(MsgQueue, MessageHasSixteenKilobytesAtMost) {
    const MESSAGE l_Message = NewMessage();
    const std::vector<uint8_t> l_Bytes(16384 - 28, 7);
    EXPECT_EQ(0, qMsgVarFieldPut(l_Message.get(), 1, l_Bytes.data(), l_Bytes.size()));
    EXPECT_NE(0, qMsgVarFieldPut(l_Message.get(), 2, l_Bytes.data(), 1));
    EXPECT_EQ(Q_ERROR_TOO_LONG, qStatusErrorGet());
    EXPECT_EQ(0, qMsgWrite(m_Here, l_Message.get()));
    EXPECT_TRUE(Read(m_There));
}

TEST_F(MsgQueue, NullArgumentsAreErrors) {
    EXPECT_NE(0, qMsgWrite(m_Here, nullptr));
    EXPECT_NE(0, qMsgRead(m_Here, nullptr));
    size_t l_Size = 1;
    EXPECT_NE(0, qMsgVarFieldGet(nullptr, 1, &l_Size, &l_Size));
    EXPECT_NE(0, qMsgVarFieldGet(NewMessage().get(), 1, nullptr, &l_Size));
    EXPECT_NE(0, qMsgVarFieldPut(nullptr, 1, &l_Size, 1));
    EXPECT_NE(0, qMsgVarFieldPut(NewMessage().get(), 1, nullptr, 1));
    EXPECT_EQ(0U, qMsgType(nullptr));
    EXPECT_EQ(0U, qMsgSource(nullptr));
    qMsgFree(nullptr);
}

TEST_F(MsgQueue, BytesThatAreNoMessageAreDropped) {
    const std::vector<std::vector<uint8_t>> l_Datagrams = {
        {},
        {1, 2, 3},
        std::vector<uint8_t>(20, 0),
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0},                         // no number of fields
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0},             // no field
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}, // 2^32 - 1 fields
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 9},          // one byte too many
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0, 5, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}};
    for (const auto& l_Bytes : l_Datagrams) {
        SendRaw(l_Bytes);
        EXPECT_FALSE(Read(m_There)) << testing::PrintToString(l_Bytes);
        EXPECT_EQ(Q_ERROR_MALFORMED, qStatusErrorGet());
    }
    EXPECT_FALSE(IsReadable(m_There));
}

/// Outside of a blade.
class MsgQueueFolder : public testing::Test {
protected:
    MsgQueueFolder() {
        ::mkdtemp(m_Around.data());
        m_Folder = m_Around + "/bm_platform";
        ::setenv("XDG_RUNTIME_DIR", m_Around.c_str(), 1);
    }
    ~MsgQueueFolder() override {
        ::unsetenv("XDG_RUNTIME_DIR");
        std::filesystem::remove_all(m_Around);
    }

    static std::string OfTheSystem() {
        return ::geteuid() == 0 ? "/run/bm_platform" : "/run/user/" + std::to_string(::geteuid()) + "/bm_platform";
    }

    /// It is refused, with this reason in the one line.
    void IsRefused(const std::string& a_Reason) const {
        const LOG_FILE l_Log;
        EXPECT_NE(0, qDrvSetInterface(0, 0));
        EXPECT_EQ(Q_ERROR_FOLDER, qStatusErrorGet());
        const std::string l_Before = "<3> [Message Queue] no message queues in " + m_Folder + ": ";
        EXPECT_THAT(l_Log.Lines(),
                    testing::ElementsAre(testing::EndsWith(l_Before + a_Reason +
                                                           "; remove it or give it to this user with mode 0700, or set "
                                                           "XDG_RUNTIME_DIR to such a folder")));
    }

    std::string m_Around = testing::TempDir() + "runtime-XXXXXX";
    std::string m_Folder;
};

TEST_F(MsgQueueFolder, IsInTheUsersRuntimeFolderAndHisAlone) {
    ASSERT_EQ(0, qDrvSetInterface(0, 0));
    EXPECT_EQ(std::filesystem::perms::owner_all, std::filesystem::status(m_Folder).permissions());
    const int l_Queue = qQueueOpen();
    ASSERT_EQ(0, qQueueBind(l_Queue, 0x60));
    EXPECT_TRUE(std::filesystem::exists(m_Folder + "/0x60"));
    EXPECT_EQ(0, qQueueClose(l_Queue));
}

TEST_F(MsgQueueFolder, WithoutARuntimeFolderOfTheUsersOwnIsInTheSystemsOne) {
    EXPECT_EQ(m_Folder, bm_queue::QueueFolderName());
    for (const char* l_Value : {"", "relative", "/not/there", "/etc/passwd"}) {
        ::setenv("XDG_RUNTIME_DIR", l_Value, 1);
        EXPECT_EQ(OfTheSystem(), bm_queue::QueueFolderName()) << l_Value;
    }
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(OfTheSystem(), bm_queue::QueueFolderName());
    if (::geteuid() != 0) return; // only root can give folders away
    ::setenv("XDG_RUNTIME_DIR", m_Around.c_str(), 1);
    ASSERT_EQ(0, ::chown(m_Around.c_str(), 65534, 65534));
    EXPECT_EQ(OfTheSystem(), bm_queue::QueueFolderName()) << "another user's";
}

TEST_F(MsgQueueFolder, ThatAnotherUserMadeFirstIsRefusedWithItsOwner) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give folders away";
    ASSERT_EQ(0, ::mkdir(m_Folder.c_str(), 0700));
    ASSERT_EQ(0, ::chown(m_Folder.c_str(), 65534, 65534));
    IsRefused(m_Folder + " belongs to user 65534, and this is user 0");
}

TEST_F(MsgQueueFolder, ThatIsALinkIsRefused) {
    std::filesystem::create_symlink("/tmp", m_Folder);
    IsRefused(m_Folder + " is no folder");
}

TEST_F(MsgQueueFolder, ThatOthersMayWriteToOrReplaceIsRefused) {
    const std::string l_Owner = std::to_string(::geteuid());
    ASSERT_EQ(0, ::mkdir(m_Folder.c_str(), 0700));
    ASSERT_EQ(0, ::chmod(m_Folder.c_str(), 0770));
    IsRefused(m_Folder + " belongs to user " + l_Owner + ", but others may write to it");
    ASSERT_EQ(0, ::chmod(m_Folder.c_str(), 0700));
    ASSERT_EQ(0, ::chmod(m_Around.c_str(), 01777));
    IsRefused(m_Around + " belongs to user " + l_Owner + ", but others may write to it");
}

TEST_F(MsgQueueFolder, WithALongerPathThanASocketCanHaveIsRefused) {
    const std::string l_Long = m_Around + "/" + std::string(80, 'x');
    ASSERT_EQ(0, ::mkdir(l_Long.c_str(), 0700));
    ::setenv("XDG_RUNTIME_DIR", l_Long.c_str(), 1);
    m_Folder = l_Long + "/bm_platform";
    IsRefused("the path is too long for a socket");
}

TEST(MsgQueueError, HasAName) {
    for (uint32_t l_Error = Q_ERROR_NONE; l_Error <= Q_ERROR_LOCKED; ++l_Error)
        EXPECT_STRNE("unknown error", qStatusErrorName(l_Error)) << l_Error;
    EXPECT_STREQ("unknown error", qStatusErrorName(Q_ERROR_LOCKED + 1));
    EXPECT_STREQ("no message", qStatusErrorName(Q_ERROR_EMPTY));
}

} // namespace
