// The history of upgrades on disk.
#include "host/orders/UpgradeHistory.h"

#include "host/TestFolder.h"
#include "host/UsageError.h"
#include "host/orders/UpgradeLock.h"

#include "bm_dev/UniqueFd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using namespace bmhost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

class UpgradeHistoryTest : public testing::Test {
protected:
    static UpgradeFacts Facts(int second, int state) {
        UpgradeFacts facts;
        facts.m_target = 1;
        facts.m_bay = 3;
        facts.m_state = state;
        facts.m_begun = WallTime(std::chrono::seconds(second));
        facts.m_file = "image.bin";
        facts.m_sha256 = "abc";
        facts.m_versionBefore = "1.2";
        facts.m_asker = "uid 0, process 1";
        return facts;
    }
    std::vector<UpgradeFacts> Read() {
        m_remarks.clear();
        return UpgradeHistory(m_folder).Read(m_remarks);
    }
    std::string File() const { return m_folder + "/upgrades.jsonl"; }

    const TestFolder m_own;
    const std::string m_folder = m_own.Path() + "/history";
    std::vector<std::string> m_remarks;
};

TEST_F(UpgradeHistoryTest, IsEmptyBeforeTheFirst) {
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(m_remarks, IsEmpty());
}

TEST_F(UpgradeHistoryTest, KeepsOneOfEachUpgradeWithItsEnd) {
    const UpgradeHistory history(m_folder);
    history.Keep(Facts(1, 0));
    UpgradeFacts ended = Facts(1, 2);
    ended.m_ended = WallTime(std::chrono::milliseconds(1500));
    history.Keep(ended);
    history.Keep(Facts(2, 0));
    const auto upgrades = Read();
    ASSERT_EQ(2U, upgrades.size());
    EXPECT_EQ(2, upgrades[0].m_state);
    EXPECT_EQ(ended.m_begun, upgrades[0].m_begun);
    EXPECT_EQ(ended.m_ended, upgrades[0].m_ended);
    EXPECT_EQ("image.bin", upgrades[0].m_file);
    EXPECT_EQ("abc", upgrades[0].m_sha256);
    EXPECT_EQ("1.2", upgrades[0].m_versionBefore);
    EXPECT_EQ("uid 0, process 1", upgrades[0].m_asker);
    EXPECT_FALSE(upgrades[1].m_ended);
    struct stat status {};
    ASSERT_EQ(0, stat(File().c_str(), &status));
    EXPECT_EQ(0640U, status.st_mode & 07777U & ~07U) << "umask may take more";
}

TEST_F(UpgradeHistoryTest, SkipsWhatIsNoUpgradeWithARemarkAndEndsALineThatWasCut) {
    const UpgradeHistory history(m_folder);
    history.Keep(Facts(1, 2));
    std::ofstream(File(), std::ios::app) << "garbage\n{\"target\":1}\n{\"cut\":";
    history.Keep(Facts(2, 2));
    EXPECT_EQ(2U, Read().size());
    EXPECT_THAT(m_remarks, ElementsAre(HasSubstr("upgrades.jsonl:2: no upgrade; skipped"), HasSubstr(":3: no upgrade"),
                                       HasSubstr(":4: no upgrade")));
}

TEST_F(UpgradeHistoryTest, KeepsTheLastThousandAndAFileOfThatSize) {
    const UpgradeHistory history(m_folder);
    history.Keep(Facts(0, 2));
    std::string line;
    std::getline(std::ifstream(File()), line);
    {
        std::ofstream many(File(), std::ios::app);
        for (int i = 0; i < 4000; ++i)
            many << line << '\n';
        for (int i = 1; i <= 1100; ++i) {
            std::string next = line;
            const std::string begun = Rfc3339(WallTime(std::chrono::seconds(i)));
            next.replace(next.find("1970"), begun.size(), begun);
            many << next << '\n';
        }
    }
    history.Keep(Facts(2000, 2));
    const auto upgrades = Read();
    ASSERT_EQ(UpgradeHistory::Most, upgrades.size());
    EXPECT_EQ(WallTime(std::chrono::seconds(2000)), upgrades.back().m_begun);
    EXPECT_EQ(WallTime(std::chrono::seconds(102)), upgrades.front().m_begun);
    std::ifstream stream(File());
    EXPECT_EQ(1000, std::count(std::istreambuf_iterator<char>(stream), {}, '\n'));
}

TEST_F(UpgradeHistoryTest, SaysThatItCannotBeReadRatherThanThatThereIsNone) {
    fs::create_directories(File());
    EXPECT_THROW(Read(), std::runtime_error);
    EXPECT_THROW(UpgradeHistory(m_folder).Keep(Facts(1, 2)), std::runtime_error);
}

TEST_F(UpgradeHistoryTest, OfNumbersThatAreNoneOfAnUpgradeIsSkipped) {
    const UpgradeHistory history(m_folder);
    history.Keep(Facts(1, 2));
    std::string line;
    std::getline(std::ifstream(File()), line);
    const std::string begin = R"({"target":1,"bay":3,"state":2)";
    ASSERT_TRUE(line.starts_with(begin));
    {
        std::ofstream file(File());
        for (const char* bay : {"3.5", "1e300", "4294967299", "18446744073709551615"})
            file << R"({"target":1,"bay":)" << bay << R"(,"state":2)" << line.substr(begin.size()) << '\n';
    }
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_EQ(4U, m_remarks.size());
}

TEST_F(UpgradeHistoryTest, ThatIsFarTooLongIsReadAtItsEndAndMadeShort) {
    const UpgradeHistory history(m_folder);
    history.Keep(Facts(1, 2));
    std::string line;
    std::getline(std::ifstream(File()), line);
    fs::resize_file(File(), 20 * 1024 * 1024);
    std::ofstream(File(), std::ios::app) << std::string(3000, '\n') << line << '\n';
    EXPECT_EQ(1U, Read().size());
    EXPECT_GT(20U, m_remarks.size());
    EXPECT_THAT(m_remarks.back(), HasSubstr("3000 lines were skipped"));
    history.Keep(Facts(2, 2));
    EXPECT_EQ(2U, Read().size());
    EXPECT_THAT(m_remarks, IsEmpty());
    EXPECT_GT(10'000U, fs::file_size(File()));
}

TEST_F(UpgradeHistoryTest, IsMadeShortWhateverHasTheNewOnesName) {
    const std::string fresh = File() + ".new";
    const std::string other = m_own.Path() + "/other";
    const auto plant = [&](int kind) {
        std::ofstream(other) << "somebody's";
        if (kind == 0) return symlink(other.c_str(), fresh.c_str());
        if (kind == 1) return link(other.c_str(), fresh.c_str());
        return mkfifo(fresh.c_str(), 0600);
    };
    for (int kind = 0; kind < 3; ++kind) {
        SCOPED_TRACE(kind);
        UpgradeHistory(m_folder).Keep(Facts(1, 2));
        std::ofstream(File(), std::ios::app) << std::string(5000, '\n');
        ASSERT_EQ(0, plant(kind));
        auto kept = std::async(std::launch::async, [this] { UpgradeHistory(m_folder).Keep(Facts(2, 2)); });
        const auto inTime = kept.wait_for(std::chrono::seconds(10));
        const bm_dev::UniqueFd reader(open(fresh.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)); // lets go who waits
        EXPECT_EQ(std::future_status::ready, inTime);
        EXPECT_NO_THROW(kept.get());
        std::string text;
        std::getline(std::ifstream(other), text);
        EXPECT_EQ("somebody's", text);
        EXPECT_EQ(2U, Read().size());
        EXPECT_GT(5000U, fs::file_size(File())) << "it was not made short";
        fs::remove(File());
        fs::remove(fresh);
        fs::remove(other);
    }
}

TEST_F(UpgradeHistoryTest, IsNoPipeThatNobodyWrites) {
    fs::create_directories(m_folder);
    ASSERT_EQ(0, mkfifo(File().c_str(), 0600));
    EXPECT_THROW(Read(), std::runtime_error);
}

TEST_F(UpgradeHistoryTest, DoesNotWaitForWhoeverLocksItsFolder) {
    fs::create_directories(m_folder);
    bm_dev::UniqueFd folder(open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(0, flock(folder.Get(), LOCK_EX | LOCK_NB));
    auto kept = std::async(std::launch::async, [this] { UpgradeHistory(m_folder).Keep(Facts(1, 2)); });
    EXPECT_EQ(std::future_status::ready, kept.wait_for(std::chrono::seconds(10)));
    folder.Reset();
    kept.get();
    EXPECT_EQ(1U, Read().size());
}

TEST_F(UpgradeHistoryTest, MakesItsFoldersForTheirOwnerAloneWhateverTheUmaskIs) {
    const mode_t former = umask(0);
    const UpgradeLock lock(m_folder + "/state/firmware");
    UpgradeHistory(m_folder + "/other").Keep(Facts(1, 2));
    umask(former);
    const auto modeOf = [](const std::string& path) {
        struct stat status {};
        EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
        return status.st_mode & 07777U;
    };
    for (const char* folder : {"", "/state", "/state/firmware", "/other"})
        EXPECT_EQ(0700U, modeOf(m_folder + folder)) << folder;
    EXPECT_EQ(0600U, modeOf(m_folder + "/state/firmware/lock"));
    EXPECT_EQ(0600U, modeOf(m_folder + "/other/upgrades.lock"));
    EXPECT_EQ(0640U, modeOf(m_folder + "/other/upgrades.jsonl"));
}

TEST_F(UpgradeHistoryTest, LockRemovesNothingInAFolderThatIsALink) {
    fs::create_directories(m_folder + "/others");
    std::ofstream(m_folder + "/others/x.image") << "x";
    fs::create_directory_symlink("others", m_folder + "/firmware");
    EXPECT_THROW(const UpgradeLock lock(m_folder + "/firmware"), std::runtime_error);
    EXPECT_TRUE(fs::exists(m_folder + "/others/x.image"));
}

TEST_F(UpgradeHistoryTest, LockIsForOneUpgrade) {
    const std::string folder = m_folder + "/firmware";
    {
        const UpgradeLock lock(folder);
        EXPECT_EQ("firmware update: an upgrade is under way in another process",
                  UsageErrorOf([&] { const UpgradeLock second(folder); }));
    }
    EXPECT_NO_THROW({ const UpgradeLock next(folder); });
}

TEST_F(UpgradeHistoryTest, LockRemovesImagesThatNoToolReads) {
    const std::string folder = m_folder + "/firmware";
    fs::create_directories(folder);
    std::ofstream(folder + "/left.image") << "x";
    std::ofstream(folder + "/read.image") << "x";
    std::string program = "/bin/sh";
    std::string option = "-c";
    std::string script = "echo ready; read line; : ";
    std::string image = folder + "/read.image";
    std::vector<char*> words = {program.data(), option.data(), script.data(), image.data(), nullptr};
    int ends[2] = {};
    int told[2] = {};
    ASSERT_EQ(0, pipe(ends));
    ASSERT_EQ(0, pipe(told));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, told[1], STDOUT_FILENO);
    pid_t tool = 0;
    ASSERT_EQ(0, posix_spawn(&tool, program.c_str(), &actions, nullptr, words.data(), environ));
    posix_spawn_file_actions_destroy(&actions);
    // Its command line is there when it runs, not yet when it was spawned.
    char ready = 0;
    ASSERT_EQ(1, read(told[0], &ready, 1));
    EXPECT_THAT(UsageErrorOf([&] { const UpgradeLock lock(folder); }),
                HasSubstr("is still at work: process " + std::to_string(tool)));
    kill(tool, SIGKILL);
    waitpid(tool, nullptr, 0);
    for (const int end : {ends[0], ends[1], told[0], told[1]})
        close(end);
    const UpgradeLock lock(folder);
    EXPECT_FALSE(fs::exists(folder + "/left.image") || fs::exists(image));
}

} // namespace
