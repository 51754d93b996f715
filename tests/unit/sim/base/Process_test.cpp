// Programs that are started, and how they ended.
#include "sim/base/Process.h"

#include "bm_dev/UniqueFd.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

using namespace bladesim;
using testing::EndsWith;
using testing::StartsWith;

namespace {

/// A program's status as waitpid gives it, and what it wrote to its standard output and error.
struct Ended {
    int m_status = -1;
    std::string m_output;
};

Ended Result(const std::vector<std::string>& command) {
    Ended ended;
    std::array<int, 2> pipe{-1, -1};
    EXPECT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const bm_dev::UniqueFd reader(pipe[0]);
    bm_dev::UniqueFd writer(pipe[1]);
    const pid_t child = Spawn(command, {STDIN_FILENO, writer.Get(), writer.Get()});
    writer.Reset();
    std::array<char, 256> part{};
    for (ssize_t size = 0; (size = ::read(reader.Get(), part.data(), part.size())) > 0;)
        ended.m_output.append(part.data(), static_cast<size_t>(size));
    EXPECT_EQ(::waitpid(child, &ended.m_status, 0), child);
    return ended;
}

} // namespace

TEST(Process, GetsItsWordsAndDescriptorsAndIsFoundInThePath) {
    const Ended ended = Result({"sh", "-c", "echo \"$1\"; echo error >&2; exit 7", "sh", "two words"});
    EXPECT_EQ(ended.m_output, "two words\nerror\n");
    EXPECT_EQ(ExitStatus(ended.m_status), 7);
    EXPECT_EQ(DescribeEnd(ended.m_status), "status 7");
}

TEST(Process, ThatIsEndedByASignalHasItsNumberAndName) {
    const Ended ended = Result({"sh", "-c", "kill -TERM $$"});
    EXPECT_EQ(ExitStatus(ended.m_status), 128 + SIGTERM);
    EXPECT_EQ(DescribeEnd(ended.m_status), "signal 15 (Terminated)");
}

TEST(Process, BeginsWithNoSignalBlocked) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const Ended ended = Result({"sh", "-c", "kill -TERM $$; echo blocked"});
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(ended.m_output, "");
}

TEST(Process, ThatDoesNotExistEndsAsInAShell) {
    const Ended ended = Result({"/nowhere/program"});
    EXPECT_EQ(ExitStatus(ended.m_status), CommandNotFound);
    EXPECT_EQ(ended.m_output, "bladesim: /nowhere/program: No such file or directory\n");
}

TEST(Process, ThatIsNoProgramEndsAsInAShell) {
    const Ended ended = Result({"/"});
    EXPECT_EQ(ExitStatus(ended.m_status), CommandNotExecutable);
    EXPECT_THAT(ended.m_output, testing::AllOf(StartsWith("bladesim: /: "), EndsWith("denied\n")));
}
