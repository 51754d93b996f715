// The options of bmhostd: of its command line, and of its configuration file.
#include "host/DaemonOptions.h"

#include "host/TestFolder.h"
#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Words = std::vector<std::string>;

class DaemonOptionsTest : public testing::Test {
protected:
    std::string Config(const std::string& text) const {
        std::ofstream(m_file) << text;
        return m_file;
    }
    /// With a configuration file of the test's own.
    DaemonOptions Read(Words words, const std::string& config = "") const {
        words.insert(words.begin(), {"--config", Config(config)});
        return ReadDaemonOptions(words);
    }
    std::string ErrorOf(const Words& words, const std::string& config = "") const {
        return UsageErrorOf([&] { Read(words, config); });
    }

    const TestFolder m_folder;
    const std::string m_file = m_folder.Path() + "/bmhost.toml";
};

TEST_F(DaemonOptionsTest, WithoutAnythingTheyAreTheDocumentedOnes) {
    const DaemonOptions options = Read({});
    EXPECT_EQ("", options.m_adaptor);
    EXPECT_EQ(1, options.m_mode);
    EXPECT_EQ(0, options.m_logLevel);
    EXPECT_EQ("", options.m_logFile);
    EXPECT_NE("", options.m_storage);
    EXPECT_NE("", options.m_state);
    EXPECT_FALSE(options.m_json);
    EXPECT_FALSE(options.m_noStart);
    EXPECT_EQ(10000, options.m_noticeAfter);
    EXPECT_EQ(30s, options.m_settings.m_sweep);
    EXPECT_EQ(10s, options.m_settings.m_endWait);
    EXPECT_FALSE(options.m_settings.m_exitOnFault);
    EXPECT_FALSE(options.m_settings.m_restartOnFault);
    EXPECT_EQ("", options.m_answer);
}

void ExpectAllGiven(const DaemonOptions& options, const std::string& folder) {
    EXPECT_EQ("a.so", options.m_adaptor);
    EXPECT_EQ(3, options.m_mode);
    EXPECT_EQ(folder + "/storage", options.m_storage);
    EXPECT_EQ(folder + "/state", options.m_state);
    EXPECT_EQ("x.log", options.m_logFile);
    EXPECT_EQ(-1, options.m_logLevel);
    EXPECT_TRUE(options.m_json);
    EXPECT_EQ(5, options.m_noticeAfter);
    EXPECT_EQ(0s, options.m_settings.m_sweep);
    EXPECT_EQ(3600s, options.m_settings.m_endWait);
    EXPECT_TRUE(options.m_noStart);
    EXPECT_TRUE(options.m_settings.m_exitOnFault);
    EXPECT_TRUE(options.m_settings.m_restartOnFault);
}

TEST_F(DaemonOptionsTest, EachIsTakenFromTheCommandLine) {
    const std::string folder = m_folder.Path();
    ExpectAllGiven(Read({"--adaptor",
                         "a.so",
                         "--mode",
                         "3",
                         "--storage",
                         folder + "/storage",
                         "--state",
                         folder + "/state",
                         "--log",
                         "x.log",
                         "--log-level",
                         "-1",
                         "--json",
                         "--notice-after",
                         "5",
                         "--sweep",
                         "0",
                         "--end-wait",
                         "3600",
                         "--no-start",
                         "--exit-on-fault",
                         "--restart-on-fault"}),
                   folder);
}

TEST_F(DaemonOptionsTest, EachIsTakenFromTheFile) {
    const std::string folder = m_folder.Path();
    ExpectAllGiven(Read({}, "# a comment\nadaptor = \"a.so\"\nmode = 3\nstorage = \"" + folder +
                                "/storage\"\nstate = \"" + folder +
                                "/state\"\nlog = \"x.log\"\nlog-level = -1\njson = true\nnotice-after = 5\n"
                                "sweep = 0\nend-wait = 3600\nno-start = true\nexit-on-fault = true\n"
                                "restart-on-fault = true\n"),
                   folder);
}

TEST_F(DaemonOptionsTest, TheCommandLineComesFirst) {
    const DaemonOptions options = Read({"--sweep", "7"}, "sweep = 5\nmode = 2\n");
    EXPECT_EQ(7s, options.m_settings.m_sweep);
    EXPECT_EQ(2, options.m_mode);
}

TEST_F(DaemonOptionsTest, AFlagMayBeFalseInTheFile) {
    EXPECT_FALSE(Read({}, "no-start = false\n").m_noStart);
    EXPECT_TRUE(Read({"--no-start"}, "no-start = false\n").m_noStart);
}

TEST_F(DaemonOptionsTest, ThePackagesFileIsReadAndHasNothingButDefaults) {
    std::ifstream file(PACKAGED_CONFIG);
    std::string text((std::istreambuf_iterator<char>(file)), {});
    ASSERT_NE("", text);
    Read({}, text);
    std::string settings;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("#") && !line.starts_with("# ") && line.size() > 1) settings += line.substr(1) + "\n";
    }
    const DaemonOptions options = Read({}, settings);
    EXPECT_EQ(Read({}).m_settings.m_sweep, options.m_settings.m_sweep);
    EXPECT_EQ(Read({}).m_settings.m_endWait, options.m_settings.m_endWait);
    EXPECT_EQ(Read({}).m_noticeAfter, options.m_noticeAfter);
    EXPECT_EQ(Read({}).m_mode, options.m_mode);
    EXPECT_FALSE(options.m_noStart || options.m_json || options.m_settings.m_exitOnFault);
    EXPECT_EQ("/var/lib/bmhost", options.m_storage);
}

TEST_F(DaemonOptionsTest, WhatIsWrongIsNamedWithItsValueAndTheReason) {
    EXPECT_THAT(ErrorOf({"--sweep", "-1"}),
                AllOf(HasSubstr("--sweep"), HasSubstr("-1"), Not(HasSubstr(m_file)), HasSubstr("0 to 86400")));
    EXPECT_THAT(ErrorOf({"--end-wait", "3601"}),
                AllOf(HasSubstr("--end-wait"), HasSubstr("3601"), HasSubstr("to 3600")));
    EXPECT_THAT(ErrorOf({"--notice-after", "0"}),
                AllOf(HasSubstr("--notice-after"), HasSubstr("0"), HasSubstr("1 to ")));
    EXPECT_THAT(ErrorOf({"--mode", "two"}), AllOf(HasSubstr("--mode"), HasSubstr("two")));
    EXPECT_THAT(ErrorOf({"--swep", "1"}), HasSubstr("--swep"));
    EXPECT_THAT(ErrorOf({"word"}), HasSubstr("word"));
    EXPECT_THAT(ErrorOf({"--log"}), HasSubstr("--log"));
}

TEST_F(DaemonOptionsTest, AFileInThePlaceOfAFolderIsRefused) {
    for (const std::string option : {"--storage", "--state"})
        EXPECT_THAT(ErrorOf({option, m_file}), AllOf(HasSubstr(option), HasSubstr("'" + m_file + "' is no folder")));
}

TEST_F(DaemonOptionsTest, WhatIsWrongInTheFileIsToldWithTheFile) {
    EXPECT_THAT(ErrorOf({}, "swep = 30\n"), testing::Eq(m_file + ": no such setting: swep"));
    EXPECT_THAT(ErrorOf({}, "sweep = -1\n"), AllOf(HasSubstr("--sweep"), HasSubstr("-1"), HasSubstr(m_file)));
    EXPECT_THAT(ErrorOf({}, "mode = \"two\"\n"), AllOf(HasSubstr("--mode"), HasSubstr("two"), HasSubstr(m_file)));
    EXPECT_THAT(ErrorOf({}, "[part]\nsweep = 1\n"), AllOf(HasSubstr("part"), HasSubstr(m_file)));
}

TEST_F(DaemonOptionsTest, AFileThatIsNotThereIsRefusedWhereItIsGiven) {
    EXPECT_THAT(UsageErrorOf([this] { ReadDaemonOptions({"--config", m_file}); }), HasSubstr(m_file));
}

TEST_F(DaemonOptionsTest, HelpAndVersionAreAnswers) {
    EXPECT_THAT(Read({"--version"}).m_answer, StartsWith("bmhostd "));
    EXPECT_EQ(Read({"-V"}).m_answer, Read({"--version"}).m_answer);
    const std::string help = Read({"--help"}).m_answer;
    for (const char* const option :
         {"--config", "--adaptor", "--mode", "--storage", "--state", "--log", "--log-level", "--json", "--notice-after",
          "--sweep", "--end-wait", "--no-start", "--exit-on-fault", "--restart-on-fault"})
        EXPECT_THAT(help, testing::ContainsRegex(std::string("  ") + option + "[ =\n]")) << option;
}

} // namespace
