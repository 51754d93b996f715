// The host's log: its lines, wherever they come from.
#include "bm/Log.h"

#include "bm_dev/HostLog.h"
#include "platform/log/LogFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using std::chrono::system_clock;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

void Log(const char* text) {
    bm_dev::HostLog().Log(BM_LOG_DEBUG, "IPMI-Adaptor", text);
}

// The part after the time: "<3> [component] text".
std::vector<std::string> WithoutTime(std::vector<std::string> lines) {
    for (std::string& line : lines)
        line.erase(0, std::string("2026-11-21 05:53:45.123 ").size());
    return lines;
}

TEST(LogLevel, IsZeroUntilTheHostSetsIt) {
    EXPECT_EQ(0, BM_LOG_LEVEL);
}

TEST(Log, LineHasTimeLevelComponentAndText) {
    const LogFile file;
    bmiLog(BM_LOG_ERROR, "IPMI Adaptor", "%s is %d", "bay", 3);
    EXPECT_THAT(file.Lines(),
                ElementsAre(MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                                         "<3> \\[IPMI Adaptor\\] bay is 3")));
}

TEST(Log, TimeIsTheLocalTimeOfTheMessage) {
    const LogFile file;
    // Not time(): its coarse clock may still be in the second before.
    const std::time_t before = system_clock::to_time_t(system_clock::now());
    Log("now");
    const std::time_t after = system_clock::to_time_t(system_clock::now());
    std::tm time{};
    ASSERT_NE(nullptr, strptime(file.Lines().at(0).c_str(), "%Y-%m-%d %H:%M:%S", &time));
    time.tm_isdst = -1;
    const std::time_t logged = std::mktime(&time);
    EXPECT_LE(before, logged);
    EXPECT_LE(logged, after);
}

TEST(Log, LoggerObjectAndBmiLogWriteTheSameLines) {
    const LogFile file;
    bmiLog(BM_LOG_DEBUG, "IPMI-Adaptor", "text");
    Log("text");
    EXPECT_THAT(WithoutTime(file.Lines()), ElementsAre("<7> [IPMI-Adaptor] text", "<7> [IPMI-Adaptor] text"));
}

TEST(Log, EveryLevelIsWrittenWithItsNumber) {
    const LogFile file;
    for (const int level : {-1, 0, 3, 4, 7, 99})
        bmiLog(level, "c", "t");
    EXPECT_THAT(WithoutTime(file.Lines()),
                ElementsAre("<-1> [c] t", "<0> [c] t", "<3> [c] t", "<4> [c] t", "<7> [c] t", "<99> [c] t"));
}

TEST(Log, LineEndsAtTheEndOfATextAreNotDoubled) {
    const LogFile file;
    for (const char* text : {"one\n", "two\n\n", "\n", ""})
        Log(text);
    EXPECT_THAT(WithoutTime(file.Lines()), ElementsAre("<7> [IPMI-Adaptor] one", "<7> [IPMI-Adaptor] two",
                                                       "<7> [IPMI-Adaptor] ", "<7> [IPMI-Adaptor] "));
}

TEST(Log, TrailingBlanksStay) {
    const LogFile file;
    Log("Fail to start MEDIA SERVER ");
    EXPECT_THAT(WithoutTime(file.Lines()), ElementsAre("<7> [IPMI-Adaptor] Fail to start MEDIA SERVER "));
}

TEST(Log, PercentSignsAndBracesAreText) {
    const LogFile file;
    Log("%s %n 100% {} {0} {");
    bmiLog(BM_LOG_DEBUG, "%s {}", "%s", "%d {}");
    EXPECT_THAT(WithoutTime(file.Lines()), ElementsAre("<7> [IPMI-Adaptor] %s %n 100% {} {0} {", "<7> [%s {}] %d {}"));
}

TEST(Log, LongTextStaysWhole) {
    const LogFile file;
    const std::string text = std::string(100'000, 'x') + "end";
    Log(text.c_str());
    bmiLog(BM_LOG_DEBUG, "IPMI-Adaptor", "%s", text.c_str());
    const std::string line = "<7> [IPMI-Adaptor] " + text;
    EXPECT_EQ((std::vector<std::string>{line, line}), WithoutTime(file.Lines()));
}

TEST(Log, NullComponentAndNullTextAreEmpty) {
    const LogFile file;
    bmiLog(BM_LOG_ERROR, nullptr, "text");
    Log(nullptr);
    EXPECT_THAT(WithoutTime(file.Lines()), ElementsAre("<3> [] text", "<7> [IPMI-Adaptor] "));
}

TEST(Log, ControlBytesAreShownAsQuestionMarks) {
    const LogFile file;
    Log("\x1B[31mred\x07\r\x7F tab\t");
    EXPECT_THAT(WithoutTime(file.Lines()), ElementsAre("<7> [IPMI-Adaptor] ?[31mred??? tab\t"));
}

TEST(Log, BytesThatATerminalTakesForControlsAreShownAsQuestionMarksAndOtherTextStays) {
    const LogFile file;
    Log("\x9B"
        "31m \u009B31m \x80\x9F \u00E9 \u20AC \U0001F600 \xE9 \xFF \xE2\x82");
    bmiLog(BM_LOG_DEBUG, "c\n\x9B", "t");
    EXPECT_THAT(
        WithoutTime(file.Lines()),
        ElementsAre("<7> [IPMI-Adaptor] ?31m ??31m ?? \u00E9 \u20AC \U0001F600 \xE9 \xFF \xE2?", "<7> [c??] t"));
}

TEST(Log, LinesOfATextAfterTheFirstAreMarkedSoThatNoneIsForged) {
    const LogFile file;
    Log("serial A\n2026-11-21 05:53:45.123 <3> [IPMI-Adaptor] forged\n\nend\n");
    const auto lines = file.Lines();
    ASSERT_EQ(4U, lines.size());
    EXPECT_THAT(lines[0], EndsWith("<7> [IPMI-Adaptor] serial A"));
    EXPECT_THAT(std::vector(lines.begin() + 1, lines.end()),
                ElementsAre("    | 2026-11-21 05:53:45.123 <3> [IPMI-Adaptor] forged", "    | ", "    | end"));
}

TEST(Log, ListenerIsToldPrintableTextsWithTheirLineEnds) {
    const LogFile file;
    std::vector<std::string> told;
    bm_dev::LogToListener([&](int, const std::string& component, const std::string& text) {
        told = {component, text};
    });
    bmiLog(BM_LOG_ERROR, "c\x9B", "\x9Bone\ntwo\n");
    bm_dev::LogToListener({});
    EXPECT_THAT(told, ElementsAre("c?", "?one\ntwo"));
}

TEST(Log, LinesOfManyThreadsStayWhole) {
    constexpr int Threads = 8;
    constexpr int Lines = 100;
    const LogFile file;
    std::vector<std::thread> threads;
    std::vector<std::string> expected;
    for (int i = 0; i < Threads; ++i) {
        threads.emplace_back([i] {
            for (int j = 0; j < Lines; ++j)
                bmiLog(BM_LOG_DEBUG, "t", "%d of %d %s", j, i, std::string(200, 'x').c_str());
        });
        for (int j = 0; j < Lines; ++j)
            expected.push_back("<7> [t] " + std::to_string(j) + " of " + std::to_string(i) + " " +
                               std::string(200, 'x'));
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(WithoutTime(file.Lines()), testing::UnorderedElementsAreArray(expected));
}

TEST(Log, ConsoleIsStandardErrorUntilItIsTurnedOff) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    bm_dev::LogToConsole(true);
    Log("shown");
    bm_dev::LogToConsole(false);
    Log("not shown");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                AllOf(EndsWith(" <7> [IPMI-Adaptor] shown\n"), testing::Not(HasSubstr("not shown"))));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(LogFile, IsAppendedTo) {
    const LogFile file;
    Log("first");
    bm_dev::LogToFile(file.Path()); // a second host with the same file
    Log("second");
    EXPECT_THAT(WithoutTime(file.Lines()),
                ElementsAre("<7> [IPMI-Adaptor] first", "<7> [IPMI-Adaptor] second", "<7> [IPMI-Adaptor] second"));
}

TEST(LogFile, ThatCannotBeOpenedIsNamedWithTheReason) {
    try {
        bm_dev::LogToFile("/dev/null/log");
        FAIL() << "opened a file below a device";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr("/dev/null/log"), HasSubstr("Not a directory")));
    }
}

TEST(LogFile, ThatIsNewIsWrittenByItsOwnerAloneWhateverTheUmask) {
    const std::filesystem::path path = testing::TempDir() + "bm-log-mode-" + std::to_string(getpid());
    const mode_t former = umask(0);
    bm_dev::LogToFile(path);
    umask(former);
    const auto mode = std::filesystem::status(path).permissions();
    std::filesystem::remove(path);
    EXPECT_EQ(std::filesystem::perms{0644}, mode);
}

TEST(LogFile, ThatIsAPipeWithoutAReaderIsRefusedAtOnce) {
    const std::filesystem::path path = testing::TempDir() + "bm-log-pipe-" + std::to_string(getpid());
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    // A reader that comes later lets go whoever waits for one.
    auto opened = std::async(std::launch::async, [&path] { bm_dev::LogToFile(path); });
    const auto inTime = opened.wait_for(std::chrono::seconds(10));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(std::future_status::ready, inTime);
    EXPECT_THROW(opened.get(), std::runtime_error);
    close(reader);
    std::filesystem::remove(path);
}

TEST(LogFile, InAFolderThatIsNotThereIsRefusedAndMakesNoFolder) {
    const std::filesystem::path folder = testing::TempDir() + "bm-log-no-folder-" + std::to_string(getpid());
    EXPECT_THROW(bm_dev::LogToFile(folder / "log"), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(folder));
}

// The log belongs to the process, so a child does this.
TEST(LogFileDeathTest, OnAFullDeviceIsToldOnceAndTheOtherSinksGoOn) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            bm_dev::LogToConsole(true);
            bm_dev::LogToFile("/dev/full");
            for (const char* text : {"first", "second", "third"})
                Log(text);
            _exit(7);
        },
        testing::ExitedWithCode(7),
        testing::MatchesRegex(".*first\nlog: Failed [a-z ]+ /dev/full: No space left on device; reported only "
                              "once\n[^\n]*second\n[^\n]*third\n"));
}

TEST(LogFile, IsNotInheritedByTools) {
    const LogFile file;
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone) != file.Path()) continue;
        ++found;
        EXPECT_NE(0, fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC);
    }
    EXPECT_EQ(1, found);
}

} // namespace
