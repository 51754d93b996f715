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
#include <stdexcept>
#include <thread>

namespace {

using std::chrono::system_clock;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

void Log(const char* a_Text) {
    BM_PLATFORM::HostLog().Log(BM_LOG_DEBUG, "IPMI-Adaptor", a_Text);
}

// What follows the time: "<3> [component] text".
std::vector<std::string> WithoutTime(std::vector<std::string> a_Lines) {
    for (std::string& l_Line : a_Lines)
        l_Line.erase(0, std::string("2026-11-21 05:53:45.123 ").size());
    return a_Lines;
}

TEST(LogLevel, IsZeroUntilTheHostSetsIt) {
    EXPECT_EQ(0, BM_LOG_LEVEL);
}

TEST(Log, LineHasTimeLevelComponentAndText) {
    const LOG_FILE l_File;
    bmiLog(BM_LOG_ERROR, "IPMI Adaptor", "%s is %d", "bay", 3);
    EXPECT_THAT(l_File.Lines(),
                ElementsAre(MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                                         "<3> \\[IPMI Adaptor\\] bay is 3")));
}

TEST(Log, TimeIsTheLocalTimeOfTheMessage) {
    const LOG_FILE l_File;
    // Not time(): its coarse clock may still be in the second before.
    const std::time_t l_Before = system_clock::to_time_t(system_clock::now());
    Log("now");
    const std::time_t l_After = system_clock::to_time_t(system_clock::now());
    std::tm l_Time{};
    ASSERT_NE(nullptr, strptime(l_File.Lines().at(0).c_str(), "%Y-%m-%d %H:%M:%S", &l_Time));
    l_Time.tm_isdst = -1;
    const std::time_t l_Logged = std::mktime(&l_Time);
    EXPECT_LE(l_Before, l_Logged);
    EXPECT_LE(l_Logged, l_After);
}

TEST(Log, LoggerObjectAndBmiLogWriteTheSameLines) {
    const LOG_FILE l_File;
    bmiLog(BM_LOG_DEBUG, "IPMI-Adaptor", "text");
    Log("text");
    EXPECT_THAT(WithoutTime(l_File.Lines()), ElementsAre("<7> [IPMI-Adaptor] text", "<7> [IPMI-Adaptor] text"));
}

TEST(Log, EveryLevelIsWrittenWithItsNumber) {
    const LOG_FILE l_File;
    for (const int l_Level : {-1, 0, 3, 4, 7, 99})
        bmiLog(l_Level, "c", "t");
    EXPECT_THAT(WithoutTime(l_File.Lines()),
                ElementsAre("<-1> [c] t", "<0> [c] t", "<3> [c] t", "<4> [c] t", "<7> [c] t", "<99> [c] t"));
}

TEST(Log, LineEndsAtTheEndOfATextAreNotDoubled) {
    const LOG_FILE l_File;
    for (const char* l_Text : {"one\n", "two\n\n", "\n", ""})
        Log(l_Text);
    EXPECT_THAT(WithoutTime(l_File.Lines()), ElementsAre("<7> [IPMI-Adaptor] one", "<7> [IPMI-Adaptor] two",
                                                         "<7> [IPMI-Adaptor] ", "<7> [IPMI-Adaptor] "));
}

TEST(Log, TrailingBlanksStay) {
    const LOG_FILE l_File;
    Log("Fail to start MEDIA SERVER ");
    EXPECT_THAT(WithoutTime(l_File.Lines()), ElementsAre("<7> [IPMI-Adaptor] Fail to start MEDIA SERVER "));
}

TEST(Log, PercentSignsAndBracesAreText) {
    const LOG_FILE l_File;
    Log("%s %n 100% {} {0} {");
    bmiLog(BM_LOG_DEBUG, "%s {}", "%s", "%d {}");
    EXPECT_THAT(WithoutTime(l_File.Lines()),
                ElementsAre("<7> [IPMI-Adaptor] %s %n 100% {} {0} {", "<7> [%s {}] %d {}"));
}

TEST(Log, LongTextStaysWhole) {
    const LOG_FILE l_File;
    const std::string l_Text = std::string(100'000, 'x') + "end";
    Log(l_Text.c_str());
    bmiLog(BM_LOG_DEBUG, "IPMI-Adaptor", "%s", l_Text.c_str());
    const std::string l_Line = "<7> [IPMI-Adaptor] " + l_Text;
    EXPECT_EQ((std::vector<std::string>{l_Line, l_Line}), WithoutTime(l_File.Lines()));
}

TEST(Log, NullComponentAndNullTextAreEmpty) {
    const LOG_FILE l_File;
    bmiLog(BM_LOG_ERROR, nullptr, "text");
    Log(nullptr);
    EXPECT_THAT(WithoutTime(l_File.Lines()), ElementsAre("<3> [] text", "<7> [IPMI-Adaptor] "));
}

TEST(Log, ControlBytesAreShownAsQuestionMarks) {
    const LOG_FILE l_File;
    Log("\x1B[31mred\x07\r\x7F tab\t");
    EXPECT_THAT(WithoutTime(l_File.Lines()), ElementsAre("<7> [IPMI-Adaptor] ?[31mred??? tab\t"));
}

TEST(Log, BytesThatATerminalTakesForControlsAreShownAsQuestionMarksAndOtherTextStays) {
    const LOG_FILE l_File;
    Log("\x9B"
        "31m \u009B31m \x80\x9F \u00E9 \u20AC \U0001F600 \xE9 \xFF \xE2\x82");
    bmiLog(BM_LOG_DEBUG, "c\n\x9B", "t");
    EXPECT_THAT(
        WithoutTime(l_File.Lines()),
        ElementsAre("<7> [IPMI-Adaptor] ?31m ??31m ?? \u00E9 \u20AC \U0001F600 \xE9 \xFF \xE2?", "<7> [c??] t"));
}

TEST(Log, LinesOfATextAfterTheFirstAreMarkedSoThatNoneIsForged) {
    const LOG_FILE l_File;
    Log("serial A\n2026-11-21 05:53:45.123 <3> [IPMI-Adaptor] forged\n\nend\n");
    const auto l_Lines = l_File.Lines();
    ASSERT_EQ(4U, l_Lines.size());
    EXPECT_THAT(l_Lines[0], EndsWith("<7> [IPMI-Adaptor] serial A"));
    EXPECT_THAT(std::vector(l_Lines.begin() + 1, l_Lines.end()),
                ElementsAre("    | 2026-11-21 05:53:45.123 <3> [IPMI-Adaptor] forged", "    | ", "    | end"));
}

TEST(Log, ListenerIsToldPrintableTextsWithTheirLineEnds) {
    const LOG_FILE l_File;
    std::vector<std::string> l_Told;
    BM_PLATFORM::LogToListener([&](int, const std::string& a_Component, const std::string& a_Text) {
        l_Told = {a_Component, a_Text};
    });
    bmiLog(BM_LOG_ERROR, "c\x9B", "\x9Bone\ntwo\n");
    BM_PLATFORM::LogToListener({});
    EXPECT_THAT(l_Told, ElementsAre("c?", "?one\ntwo"));
}

TEST(Log, LinesOfManyThreadsStayWhole) {
    constexpr int THREADS = 8;
    constexpr int LINES = 100;
    const LOG_FILE l_File;
    std::vector<std::thread> l_Threads;
    std::vector<std::string> l_Expected;
    for (int i = 0; i < THREADS; ++i) {
        l_Threads.emplace_back([i] {
            for (int j = 0; j < LINES; ++j)
                bmiLog(BM_LOG_DEBUG, "t", "%d of %d %s", j, i, std::string(200, 'x').c_str());
        });
        for (int j = 0; j < LINES; ++j)
            l_Expected.push_back("<7> [t] " + std::to_string(j) + " of " + std::to_string(i) + " " +
                                 std::string(200, 'x'));
    }
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_THAT(WithoutTime(l_File.Lines()), testing::UnorderedElementsAreArray(l_Expected));
}

TEST(Log, ConsoleIsStandardErrorUntilItIsTurnedOff) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    BM_PLATFORM::LogToConsole(true);
    Log("shown");
    BM_PLATFORM::LogToConsole(false);
    Log("not shown");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                AllOf(EndsWith(" <7> [IPMI-Adaptor] shown\n"), testing::Not(HasSubstr("not shown"))));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(LogFile, IsAppendedTo) {
    const LOG_FILE l_File;
    Log("first");
    BM_PLATFORM::LogToFile(l_File.Path()); // a second host with the same file
    Log("second");
    EXPECT_THAT(WithoutTime(l_File.Lines()),
                ElementsAre("<7> [IPMI-Adaptor] first", "<7> [IPMI-Adaptor] second", "<7> [IPMI-Adaptor] second"));
}

TEST(LogFile, ThatCannotBeOpenedIsNamedWithTheReason) {
    try {
        BM_PLATFORM::LogToFile("/dev/null/log");
        FAIL() << "opened a file below a device";
    } catch (const std::runtime_error& l_Error) {
        EXPECT_THAT(l_Error.what(), AllOf(HasSubstr("/dev/null/log"), HasSubstr("Not a directory")));
    }
}

TEST(LogFile, InAFolderThatIsNotThereIsRefusedAndMakesNoFolder) {
    const std::filesystem::path l_Folder = testing::TempDir() + "bm-log-no-folder-" + std::to_string(getpid());
    EXPECT_THROW(BM_PLATFORM::LogToFile(l_Folder / "log"), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(l_Folder));
}

// The log is the process's: a child has it for itself.
TEST(LogFileDeathTest, OnAFullDeviceIsToldOnceAndTheOtherSinksGoOn) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            BM_PLATFORM::LogToConsole(true);
            BM_PLATFORM::LogToFile("/dev/full");
            for (const char* l_Text : {"first", "second", "third"})
                Log(l_Text);
            _exit(7);
        },
        testing::ExitedWithCode(7),
        testing::MatchesRegex(".*first\nlog: Failed [a-z ]+ /dev/full: No space left on device; this is told "
                              "once\n[^\n]*second\n[^\n]*third\n"));
}

TEST(LogFile, IsNotInheritedByTools) {
    const LOG_FILE l_File;
    int l_Found = 0;
    for (const auto& l_Entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code l_Gone;
        if (std::filesystem::read_symlink(l_Entry, l_Gone) != l_File.Path()) continue;
        ++l_Found;
        EXPECT_NE(0, fcntl(std::stoi(l_Entry.path().filename()), F_GETFD) & FD_CLOEXEC);
    }
    EXPECT_EQ(1, l_Found);
}

} // namespace
