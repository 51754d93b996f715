// The message queue over real sockets: exchange, limits, remains of dead processes, hostile datagrams.
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
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr uint32_t Here = 0x60;
constexpr uint32_t There = 0x40;
constexpr uint32_t NumberField = 0x300000;
constexpr uint32_t TextField = 0x28000C;

struct FreeMessage {
    void operator()(qMsg* message) const { qMsgFree(message); }
};
using Message = std::unique_ptr<qMsg, FreeMessage>;

class MsgQueue : public testing::Test {
protected:
    MsgQueue() {
        ::mkdtemp(m_folder.data());
        ::setenv("BLADESIM_RUN_DIR", m_folder.c_str(), 1);
        m_here = Bound(Here);
        m_there = Bound(There);
    }
    ~MsgQueue() override {
        qQueueClose(m_here);
        qQueueClose(m_there);
        ::unsetenv("BLADESIM_RUN_DIR");
        std::filesystem::remove_all(m_folder);
    }

    static int Bound(uint32_t address) {
        EXPECT_EQ(0, qDrvSetInterface(0, 0));
        const int queue = qQueueOpen();
        EXPECT_GE(queue, 0);
        EXPECT_EQ(0, qQueueBind(queue, address)) << qStatusErrorName(qStatusErrorGet());
        return queue;
    }

    static Message NewMessage(uint32_t type = 0x800071) { return Message(qMsgAllocate(type, Here, There)); }

    static Message Read(int queue) {
        qMsg* message = nullptr;
        qMsgRead(queue, &message);
        return Message(message);
    }

    static bool IsReadable(int queue) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(queue, &set);
        timeval now{};
        return ::select(queue + 1, &set, nullptr, nullptr, &now) == 1;
    }

    std::string FileOf(const char* address) const { return m_folder + "/queues/" + address; }

    /// Foreign bytes for the queue of THERE.
    void SendRaw(const std::vector<uint8_t>& bytes) const {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        FileOf("0x40").copy(name.sun_path, sizeof(name.sun_path) - 1);
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()),
                  ::sendto(m_here, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&name), sizeof(name)));
    }

    std::string m_folder = testing::TempDir() + "queues-XXXXXX";
    int m_here = -1;
    int m_there = -1;
};

TEST_F(MsgQueue, MessageArrivesWithItsTypeSourceAndFields) {
    const Message sent = NewMessage();
    const uint32_t number = 0xCAFEBABE;
    ASSERT_EQ(0, qMsgVarFieldPut(sent.get(), NumberField, &number, sizeof(number)));
    ASSERT_EQ(0, qMsgVarFieldPut(sent.get(), TextField, "main.c", 6));
    EXPECT_FALSE(IsReadable(m_there));
    ASSERT_EQ(0, qMsgWrite(m_here, sent.get()));
    EXPECT_TRUE(IsReadable(m_there));

    const Message read = Read(m_there);
    ASSERT_TRUE(read);
    EXPECT_EQ(0x800071U, qMsgType(read.get()));
    EXPECT_EQ(Here, qMsgSource(read.get()));
    uint32_t value = 0;
    size_t size = sizeof(value);
    ASSERT_EQ(0, qMsgVarFieldGet(read.get(), NumberField, &value, &size));
    EXPECT_EQ(number, value);
    EXPECT_EQ(sizeof(value), size);
    std::array<char, 16> text{};
    size = 4;
    ASSERT_EQ(0, qMsgVarFieldGet(read.get(), TextField, text.data(), &size));
    EXPECT_STREQ("main", text.data());
    EXPECT_EQ(6U, size);
}

TEST_F(MsgQueue, MessagesComeInTheirOrder) {
    for (uint32_t type = 1; type <= 5; ++type)
        ASSERT_EQ(0, qMsgWrite(m_here, NewMessage(type).get()));
    for (uint32_t type = 1; type <= 5; ++type)
        EXPECT_EQ(type, qMsgType(Read(m_there).get()));
}

TEST_F(MsgQueue, FieldThatIsPutAgainIsReplaced) {
    const Message message = NewMessage();
    qMsgVarFieldPut(message.get(), TextField, "first", 5);
    qMsgVarFieldPut(message.get(), TextField, "2nd", 3);
    std::array<char, 8> text{};
    size_t size = text.size();
    ASSERT_EQ(0, qMsgVarFieldGet(message.get(), TextField, text.data(), &size));
    EXPECT_STREQ("2nd", text.data());
    EXPECT_EQ(3U, size);
}

TEST_F(MsgQueue, EmptyQueueGivesAnErrorAndNoMessage) {
    qMsg* message = NewMessage().release();
    const Message owned(message);
    EXPECT_NE(0, qMsgRead(m_there, &message));
    EXPECT_EQ(nullptr, message);
    EXPECT_EQ(Q_ERROR_EMPTY, qStatusErrorGet());
}

TEST_F(MsgQueue, DestinationThatIsGoneGivesAnError) {
    qQueueClose(m_there);
    EXPECT_NE(0, qMsgWrite(m_here, NewMessage().get()));
    EXPECT_EQ(Q_ERROR_NO_DESTINATION, qStatusErrorGet());
    m_there = Bound(There);
    EXPECT_EQ(0, qMsgWrite(m_here, NewMessage().get()));
}

TEST_F(MsgQueue, DestinationThatDoesNotReadGivesAnErrorAndKeepsWhatItHas) {
    constexpr int many = 100000;
    int sent = 0;
    while (sent < many && qMsgWrite(m_here, NewMessage(static_cast<uint32_t>(sent) + 1).get()) == 0)
        ++sent;
    ASSERT_LT(sent, many);
    EXPECT_EQ(Q_ERROR_FULL, qStatusErrorGet());
    for (int i = 0; i < sent; ++i)
        ASSERT_EQ(static_cast<uint32_t>(i) + 1, qMsgType(Read(m_there).get()));
    EXPECT_FALSE(Read(m_there));
    EXPECT_EQ(0, qMsgWrite(m_here, NewMessage().get()));
}

TEST_F(MsgQueue, AddressIsHeldByOneQueueAtATime) {
    const int second = qQueueOpen();
    EXPECT_NE(0, qQueueBind(second, There));
    EXPECT_EQ(Q_ERROR_ADDRESS_TAKEN, qStatusErrorGet());
    ASSERT_EQ(0, qQueueClose(m_there));
    EXPECT_EQ(0, qQueueBind(second, There));
    m_there = second;
}

TEST_F(MsgQueue, AddressOfADeadProcessIsFree) {
    const pid_t child = ::fork();
    if (child == 0) {
        Bound(0x77);
        ::_exit(0); // without closing: the socket's file stays
    }
    ASSERT_EQ(child, ::waitpid(child, nullptr, 0));
    ASSERT_TRUE(std::filesystem::exists(FileOf("0x77")));
    const int queue = Bound(0x77);
    EXPECT_EQ(0, qQueueClose(queue));
    EXPECT_FALSE(std::filesystem::exists(FileOf("0x77")));
}

TEST_F(MsgQueue, OtherInterfacesAreRefused) {
    EXPECT_NE(0, qDrvSetInterface(1, 0));
    EXPECT_EQ(Q_ERROR_INTERFACE, qStatusErrorGet());
    EXPECT_NE(0, qDrvSetInterface(0, 1));
}

TEST_F(MsgQueue, FolderThatOthersMayWriteToIsRefused) {
    std::filesystem::permissions(m_folder + "/queues", std::filesystem::perms::others_write,
                                 std::filesystem::perm_options::add);
    EXPECT_NE(0, qDrvSetInterface(0, 0));
    EXPECT_EQ(Q_ERROR_FOLDER, qStatusErrorGet());
}

TEST_F(MsgQueue, FolderThatABinderDoesNotLetGoIsWaitedForWithinBoundsAndHasAnErrorOfItsOwn) {
    const LogFile log;
    const auto wait = std::exchange(bm_queue::queueLockWait, std::chrono::milliseconds(0));
    const int lock = ::open(FileOf("lock").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(0, ::flock(lock, LOCK_EX));
    const int queue = qQueueOpen();
    EXPECT_NE(0, qQueueBind(queue, 0x77));
    EXPECT_EQ(Q_ERROR_LOCKED, qStatusErrorGet());
    EXPECT_FALSE(std::filesystem::exists(FileOf("0x77")));
    EXPECT_THAT(log.Lines(), testing::ElementsAre(testing::EndsWith("<3> [Message Queue] " + FileOf("lock") +
                                                                    ": is locked by process " +
                                                                    std::to_string(::getpid()) + " (platform_tests)")));
    ::close(lock);
    EXPECT_EQ(0, qQueueBind(queue, 0x77));
    qQueueClose(queue);
    bm_queue::queueLockWait = wait;
}

TEST_F(MsgQueue, FolderWhoseLockCannotBeHadIsNotUsed) {
    std::filesystem::remove(FileOf("lock"));
    std::filesystem::create_symlink("elsewhere", FileOf("lock"));
    const int queue = qQueueOpen();
    EXPECT_NE(0, qQueueBind(queue, 0x77));
    EXPECT_EQ(Q_ERROR_LOCKED, qStatusErrorGet());
    qQueueClose(queue);
}

TEST_F(MsgQueue, MissingFieldIsAnErrorAndLeavesTheSize) {
    size_t size = 4;
    uint32_t value = 0;
    EXPECT_NE(0, qMsgVarFieldGet(NewMessage().get(), NumberField, &value, &size));
    EXPECT_EQ(Q_ERROR_NO_FIELD, qStatusErrorGet());
    EXPECT_EQ(4U, size);
}

TEST_F(MsgQueue, MessageHasSixteenKilobytesAtMost) {
    const Message message = NewMessage();
    const std::vector<uint8_t> bytes(16384 - 28, 7);
    EXPECT_EQ(0, qMsgVarFieldPut(message.get(), 1, bytes.data(), bytes.size()));
    EXPECT_NE(0, qMsgVarFieldPut(message.get(), 2, bytes.data(), 1));
    EXPECT_EQ(Q_ERROR_TOO_LONG, qStatusErrorGet());
    EXPECT_EQ(0, qMsgWrite(m_here, message.get()));
    EXPECT_TRUE(Read(m_there));
}

TEST_F(MsgQueue, NullArgumentsAreErrors) {
    EXPECT_NE(0, qMsgWrite(m_here, nullptr));
    EXPECT_NE(0, qMsgRead(m_here, nullptr));
    size_t size = 1;
    EXPECT_NE(0, qMsgVarFieldGet(nullptr, 1, &size, &size));
    EXPECT_NE(0, qMsgVarFieldGet(NewMessage().get(), 1, nullptr, &size));
    EXPECT_NE(0, qMsgVarFieldPut(nullptr, 1, &size, 1));
    EXPECT_NE(0, qMsgVarFieldPut(NewMessage().get(), 1, nullptr, 1));
    EXPECT_EQ(0U, qMsgType(nullptr));
    EXPECT_EQ(0U, qMsgSource(nullptr));
    qMsgFree(nullptr);
}

TEST_F(MsgQueue, BytesThatAreNoMessageAreDropped) {
    const std::vector<std::vector<uint8_t>> datagrams = {
        {},
        {1, 2, 3},
        std::vector<uint8_t>(20, 0),
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0},                         // no number of fields
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0},             // no field
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}, // 2^32 - 1 fields
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 9},          // one byte too many
        {0x31, 0x53, 0x4D, 0x51, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0, 5, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}};
    for (const auto& bytes : datagrams) {
        SendRaw(bytes);
        EXPECT_FALSE(Read(m_there)) << testing::PrintToString(bytes);
        EXPECT_EQ(Q_ERROR_MALFORMED, qStatusErrorGet());
    }
    EXPECT_FALSE(IsReadable(m_there));
}

TEST(MsgQueueError, HasAName) {
    for (uint32_t error = Q_ERROR_NONE; error <= Q_ERROR_LOCKED; ++error)
        EXPECT_STRNE("unknown error", qStatusErrorName(error)) << error;
    EXPECT_STREQ("unknown error", qStatusErrorName(Q_ERROR_LOCKED + 1));
    EXPECT_STREQ("no message", qStatusErrorName(Q_ERROR_EMPTY));
}

} // namespace
