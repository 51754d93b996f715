// The board under Linux: environment, tools, the PCI driver's file, the override file, the kernel parameter, waits and
// threads.
#include "adaptor/board/IPMI_LinuxBoard.h"

#include "adaptor/board/DoorTest.h"
#include "bm/OSAL.h"
#include "fake/FakeBoard.h"
#include "platform/osal/Blocked.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

namespace {

class LinuxBoard : public DOOR_TEST {
protected:
    LINUX_BOARD m_Board;
};

TEST_F(LinuxBoard, IsOneForTheProcess) {
    EXPECT_NE(dynamic_cast<LINUX_BOARD*>(&TheBoard()), nullptr);
    EXPECT_EQ(&TheBoard(), &TheBoard());
}

// ---- the environment

class Environment : public LinuxBoard {
protected:
    static constexpr const char* NAME = "DOOR_TEST_VARIABLE";

    Environment() { unsetenv(NAME); }
    ~Environment() override { unsetenv(NAME); }
};

TEST_F(Environment, GivesAVariablesValue) {
    setenv(NAME, "some value", 1);
    EXPECT_THAT(m_Board.Environment(NAME), Optional(std::string("some value")));
}

TEST_F(Environment, VariableSetToNothingIsSet) {
    setenv(NAME, "", 1);
    EXPECT_THAT(m_Board.Environment(NAME), Optional(std::string()));
}

TEST_F(Environment, VariableThatIsNotSetIsNothing) {
    EXPECT_EQ(m_Board.Environment(NAME), std::nullopt);
}

TEST(InstallFolder, IsTheVariablesOrTheDefault) {
    FAKE_BOARD l_Board;
    EXPECT_EQ(InstallDir(l_Board), "/usr/korvel");
    l_Board.m_Environment["TARSK_KORVEL_DIR"] = "/opt/korvel";
    EXPECT_EQ(InstallDir(l_Board), "/opt/korvel");
    l_Board.m_Environment["TARSK_KORVEL_DIR"] = "";
    EXPECT_EQ(InstallDir(l_Board), "");
}

// ---- tools

using Tool = LinuxBoard;

TEST_F(Tool, GivesItsWaitStatus) {
    EXPECT_EQ(m_Board.RunTool("/bin/true"), 0);
    EXPECT_EQ(m_Board.RunTool("/bin/false"), Exited(1));
    EXPECT_EQ(m_Board.RunTool("exit 255"), Exited(255));
}

TEST_F(Tool, ThatASignalEndedGivesTheSignal) {
    EXPECT_EQ(m_Board.RunTool("kill -KILL $$"), Killed(SIGKILL));
}

TEST_F(Tool, ThatIsNotThereGivesTheShellsStatus) {
    EXPECT_EQ(m_Board.RunTool("/bin/no-such-tool 2>/dev/null"), Exited(127));
}

TEST_F(Tool, HasEndedWhenTheCallComesBackAndGetsItsWordsFromTheShell) {
    const std::filesystem::path l_File = testing::TempDir() + "door-" + std::to_string(getpid());
    EXPECT_EQ(m_Board.RunTool("printf '%s|' one 'two three' >" + l_File.string()), 0);
    std::string l_Words;
    std::getline(std::ifstream(l_File), l_Words);
    std::filesystem::remove(l_File);
    EXPECT_EQ(l_Words, "one|two three|");
}

// ---- the network: IPMI_Network_test.cpp has the cases

TEST_F(LinuxBoard, TellsAnInterfacesAddresses) {
    Kernel().m_Interfaces = {{"eth6", "192.168.0.1", {0x02, 0, 0x5e, 0xAB, 0, 0x09}}};
    EXPECT_THAT(m_Board.HardwareAddressOf("eth6"), Optional(MAC_ADDRESS{{0x02, 0, 0x5e, 0xAB, 0, 0x09}}));
    EXPECT_THAT(m_Board.IPv4AddressOf("eth6"), Optional(std::string("192.168.0.1")));
    EXPECT_EQ(m_Board.HardwareAddressOf("eth7"), std::nullopt);
    EXPECT_EQ(m_Board.IPv4AddressOf("eth7"), std::nullopt);
}

// ---- the PCI driver's file

class DriverFile : public LinuxBoard {
protected:
    /// Three records, in one pass.
    DRIVER_PASS Write() { return m_Board.WriteDriverFile(RECORDS); }

    static const inline std::array<std::string, 3> RECORDS = {"DataValid=1", "RtmDetected=0", "FramerType=-1"};
};

TEST_F(DriverFile, GetsEachRecordInOneWriteWithoutALineEnd) {
    const DRIVER_PASS l_Pass = Write();
    EXPECT_EQ(l_Pass.m_OpenError, 0);
    EXPECT_EQ(l_Pass.m_Taken, 3U);
    EXPECT_THAT(Kernel().m_Records, ElementsAre("1 DataValid=1", "1 RtmDetected=0", "1 FramerType=-1"));
    EXPECT_EQ(Kernel().m_OpenFiles, 0);
}

TEST_F(DriverFile, IsOpenedAnewForEachPass) {
    Write();
    EXPECT_EQ(m_Board.WriteDriverFile({}).m_Taken, 0U);
    Write();
    EXPECT_EQ(Kernel().m_Openings, 3);
    EXPECT_EQ(Kernel().m_Records.back(), "3 FramerType=-1");
    EXPECT_EQ(Kernel().m_OpenFiles, 0);
}

TEST_F(DriverFile, IsOpenedForReadingAndWritingAndNeverCreated) {
    Write();
    EXPECT_EQ(Kernel().m_OpenFlags & O_ACCMODE, O_RDWR);
    EXPECT_EQ(Kernel().m_OpenFlags & (O_CREAT | O_TRUNC | O_APPEND), 0);
    EXPECT_NE(Kernel().m_OpenFlags & O_CLOEXEC, 0);
}

TEST_F(DriverFile, ThatCannotBeOpenedGivesTheErrorAndTakesNothing) {
    for (const int l_Error : {ENOENT, EACCES}) {
        Kernel() = {};
        Kernel().m_OpenErrors = {{1, l_Error}};
        const DRIVER_PASS l_Pass = Write();
        EXPECT_EQ(l_Pass.m_OpenError, l_Error);
        EXPECT_EQ(l_Pass.m_Taken, 0U);
        EXPECT_THAT(Kernel().m_Records, IsEmpty());
    }
}

TEST_F(DriverFile, RecordThatIsNotTakenWholeEndsThePass) {
    for (std::size_t i = 0; i < RECORDS.size(); ++i) {
        for (const long l_Written : {-1L, 0L, 3L}) {
            Kernel() = {};
            Kernel().m_Writes = {{"1 " + RECORDS[i], l_Written}};
            const DRIVER_PASS l_Pass = Write();
            EXPECT_EQ(l_Pass.m_OpenError, 0);
            EXPECT_EQ(l_Pass.m_Taken, i);
            EXPECT_THAT(Kernel().m_Records, SizeIs(i)) << l_Written;
            EXPECT_EQ(Kernel().m_OpenFiles, 0);
        }
    }
}

// ---- the override file

class OverrideFile : public LinuxBoard {
protected:
    /// The lines of a file with this content.
    std::optional<std::vector<std::string>> Lines(const std::optional<std::string>& a_Content) {
        Kernel().m_OverrideFile = a_Content;
        return m_Board.OverrideLines();
    }
};

TEST_F(OverrideFile, GivesItsLinesWithTheirEnds) {
    EXPECT_THAT(Lines("2\n1\n8\n4\n"), Optional(ElementsAre("2\n", "1\n", "8\n", "4\n")));
    EXPECT_THAT(Lines("2\n1\n8\n4"), Optional(ElementsAre("2\n", "1\n", "8\n", "4")));
}

TEST_F(OverrideFile, GivesFourLinesAtTheMost) {
    EXPECT_THAT(Lines("1\n2\n3\n4\n5\n6\n"), Optional(ElementsAre("1\n", "2\n", "3\n", "4\n")));
}

TEST_F(OverrideFile, WithFewerLinesGivesThose) {
    EXPECT_THAT(Lines("2\n\n8"), Optional(ElementsAre("2\n", "\n", "8")));
    EXPECT_THAT(Lines(""), Optional(IsEmpty()));
}

TEST_F(OverrideFile, ThatIsNotThereIsNothing) {
    EXPECT_EQ(Lines(std::nullopt), std::nullopt);
}

TEST_F(OverrideFile, LineOfMoreThan1023CharactersIsReadAsSeveral) {
    const std::string l_Part(1023, '0');
    EXPECT_THAT(Lines(l_Part + "1\n8\n4\n"), Optional(ElementsAre(l_Part, "1\n", "8\n", "4\n")));
    EXPECT_THAT(Lines(l_Part + "\n8\n"), Optional(ElementsAre(l_Part, "\n", "8\n")));
    EXPECT_THAT(Lines(std::string(1022, '0') + "\n8\n"), Optional(ElementsAre(std::string(1022, '0') + "\n", "8\n")));
}

TEST_F(OverrideFile, IsOpenedForReadingAndNotInherited) {
    Lines("2\n");
    EXPECT_EQ(Kernel().m_OverrideMode, "re");
}

// ---- the kernel parameter

using KernelParameter = LinuxBoard;

TEST_F(KernelParameter, IsNamedByTwoNumbersAndTakesTheValue) {
    for (const int l_Value : {0, 1}) {
        EXPECT_TRUE(m_Board.SetRemap(l_Value));
        EXPECT_EQ(Kernel().m_Parameter, l_Value);
        EXPECT_THAT(Kernel().m_ParameterName, ElementsAre(555, 2));
    }
}

TEST_F(KernelParameter, OfAKernelWithoutTheSystemCallIsNotSet) {
    Kernel().m_bNoParameter = true;
    EXPECT_FALSE(m_Board.SetRemap(1));
}

// ---- the clock

using MonitorWait = LinuxBoard;

TEST_F(MonitorWait, TimesOut) {
    OSAL::OSALMonitor l_Monitor;
    l_Monitor.Lock();
    while (m_Board.Wait(l_Monitor, 1)) {
    } // a wait may end for no reason
    l_Monitor.Unlock();
    EXPECT_EQ(Kernel().m_Selects.size(), 0U); // it is the monitor's own wait
}

TEST_F(MonitorWait, EndsWhenNotified) {
    constexpr int LONG_MS = 1 << 30;
    OSAL::OSALMonitor l_Monitor;
    l_Monitor.Lock();
    std::thread l_Notifier([&] {
        l_Monitor.Lock(); // not before the wait has released it
        l_Monitor.Notify();
        l_Monitor.Unlock();
    });
    EXPECT_TRUE(m_Board.Wait(l_Monitor, LONG_MS));
    l_Monitor.Unlock();
    l_Notifier.join();
}

class ReadWait : public LinuxBoard {
protected:
    ReadWait() { EXPECT_EQ(pipe2(m_Pipe.data(), O_CLOEXEC), 0); }
    ~ReadWait() override {
        for (const int l_Descriptor : m_Pipe)
            close(l_Descriptor);
    }

    int Wait(int a_Milliseconds = 5000) { return m_Board.WaitUntilReadable(m_Pipe[0], a_Milliseconds); }
    void Fill() const { EXPECT_EQ(write(m_Pipe[1], "x", 1), 1); }

    std::array<int, 2> m_Pipe{};
};

TEST_F(ReadWait, EndsWithTheFirstByte) {
    std::atomic<pid_t> l_Thread = 0;
    int l_Result = -1;
    std::thread l_Waiter([&] {
        l_Thread = gettid();
        l_Result = Wait(1 << 30);
    });
    while (Kernel().SelectCount() < 1 || !IsBlocked(l_Thread))
        std::this_thread::yield();
    Fill();
    l_Waiter.join();
    EXPECT_EQ(l_Result, 1);
    EXPECT_THAT(Kernel().m_Selects, SizeIs(1));
}

TEST_F(ReadWait, Gives0WhenTheTimeRanOut) {
    EXPECT_EQ(Wait(0), 0);
    EXPECT_EQ(Wait(1), 0);
}

TEST_F(ReadWait, IsForTheDescriptorAndTheTimeThatItIsGiven) {
    Kernel().m_SelectEnds = {{}};
    EXPECT_EQ(Wait(5250), 0);
    ASSERT_THAT(Kernel().m_Selects, SizeIs(1));
    EXPECT_EQ(Kernel().m_Selects[0].m_Count, m_Pipe[0] + 1);
    EXPECT_TRUE(Kernel().m_Selects[0].m_bLastIsSet);
    EXPECT_EQ(Kernel().m_Selects[0].m_Milliseconds, 5250);
}

TEST_F(ReadWait, GoesOnForTheRestOfTheTimeAfterASignal) {
    Kernel().m_SelectEnds = {{-1, EINTR, {3, 250'000}}, {-1, EINTR, {0, 1000}}, {0}};
    EXPECT_EQ(Wait(), 0);
    std::vector<long> l_Times;
    for (const KERNEL_SELECT& l_Call : Kernel().m_Selects) {
        l_Times.push_back(l_Call.m_Milliseconds);
        EXPECT_TRUE(l_Call.m_bLastIsSet);
    }
    EXPECT_THAT(l_Times, ElementsAre(5000, 3250, 1));
}

TEST_F(ReadWait, FindsWhatCameBeforeASignal) {
    Kernel().m_SelectEnds = {{-1, EINTR, {4, 0}}};
    Fill();
    EXPECT_EQ(Wait(), 1);
}

TEST_F(ReadWait, RealSignalDoesNotEndIt) {
    struct sigaction l_Before = {};
    struct sigaction l_Nothing = {};
    l_Nothing.sa_handler = [](int) {};
    sigaction(SIGUSR1, &l_Nothing, &l_Before);
    std::atomic<pid_t> l_Thread = 0;
    int l_Result = -1;
    std::thread l_Waiter([&] {
        l_Thread = gettid();
        l_Result = Wait(1 << 30);
    });
    while (Kernel().SelectCount() < 1 || !IsBlocked(l_Thread))
        std::this_thread::yield();
    pthread_kill(l_Waiter.native_handle(), SIGUSR1);
    while (Kernel().SelectCount() < 2)
        std::this_thread::yield();
    Fill();
    l_Waiter.join();
    sigaction(SIGUSR1, &l_Before, nullptr);
    EXPECT_EQ(l_Result, 1);
    EXPECT_LE(Kernel().m_Selects[1].m_Milliseconds, Kernel().m_Selects[0].m_Milliseconds);
}

TEST_F(ReadWait, AnyOtherErrorEndsIt) {
    Kernel().m_SelectEnds = {{-1, EBADF}};
    EXPECT_EQ(Wait(), -1);
    EXPECT_THAT(Kernel().m_Selects, SizeIs(1));
}

TEST_F(ReadWait, DescriptorThatSelectCannotTakeIsAnErrorAtOnce) {
    for (const int l_Descriptor : {-1, static_cast<int>(FD_SETSIZE), FD_SETSIZE + 1, 1 << 20})
        EXPECT_EQ(m_Board.WaitUntilReadable(l_Descriptor, 5000), -1) << l_Descriptor;
    EXPECT_THAT(Kernel().m_Selects, IsEmpty());
}

TEST_F(ReadWait, TakesTheFirstAndTheLastDescriptorThatSelectCanTake) {
    for (const int l_Descriptor : {0, static_cast<int>(FD_SETSIZE) - 1}) {
        Kernel() = {};
        Kernel().m_SelectEnds = {{}};
        EXPECT_EQ(m_Board.WaitUntilReadable(l_Descriptor, 5000), 0);
        ASSERT_THAT(Kernel().m_Selects, SizeIs(1)) << l_Descriptor;
        EXPECT_TRUE(Kernel().m_Selects[0].m_bLastIsSet);
    }
}

TEST_F(ReadWait, ErrorOfAnEarlierCallDoesNotMakeItWaitAgain) {
    Kernel().m_SelectEnds = {{0, EINTR}}; // a call that succeeds leaves errno as it was
    EXPECT_EQ(Wait(0), 0);
    EXPECT_THAT(Kernel().m_Selects, SizeIs(1));
}

// ---- threads

class NOTING_THREAD : public OSAL::OSALThread {
public:
    void run() override { m_bRan = true; }
    std::atomic<bool> m_bRan = false;
};

using ThreadStart = LinuxBoard;

TEST_F(ThreadStart, RunsTheThread) {
    NOTING_THREAD l_Thread;
    EXPECT_EQ(m_Board.StartThread(l_Thread), 0);
    EXPECT_EQ(l_Thread.Join(), 0);
    EXPECT_TRUE(l_Thread.m_bRan);
}

TEST_F(ThreadStart, GivesTheErrorOfOneThatCannotBeStarted) {
    NOTING_THREAD l_Thread;
    EXPECT_EQ(m_Board.StartThread(l_Thread), 0);
    EXPECT_EQ(m_Board.StartThread(l_Thread), EBUSY);
    EXPECT_EQ(l_Thread.Join(), 0);
}

} // namespace
