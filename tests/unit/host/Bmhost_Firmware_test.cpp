// `bmhost firmware` through the program, with an adaptor whose upgrades end at once.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class BmhostFirmware : public testing::Test {
protected:
    Ended Update(const std::string& image, const std::vector<std::string>& more = {}) {
        m_file = testing::TempDir() + std::to_string(getpid()) + image;
        std::ofstream(m_file) << image;
        std::vector<std::string> words = {"firmware", "update", "--target", "amc", "--bay", "3", "--yes", m_file};
        words.insert(words.end(), more.begin(), more.end());
        words.insert(words.begin(), "--simulated");
        const Ended ended = RunStub("good", words);
        std::remove(m_file.c_str());
        return ended;
    }

    std::string m_file;
};

TEST_F(BmhostFirmware, FollowsAnUpgradeThatPasses) {
    const Ended ended = Update("good.bin");
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out,
                MatchesRegex("AMC bay 3: upgrade in progress, 0 s\nAMC bay 3: upgraded, [0-9]+ s\nfile .*good.bin, "
                             "SHA-256 c3af5edbefcc62b5952f9dc8bc47fc4a5f61fbf6df40b641c3b6fefddbfcb60d\n"));
    EXPECT_EQ("", ended.m_err);
}

TEST_F(BmhostFirmware, ShowsWhatTheToolSaidOfAnUpgradeThatFails) {
    const Ended ended = Update("bad.bin");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_out, HasSubstr("AMC bay 3: the upgrade failed, "));
    EXPECT_EQ("the firmware tool's words\n", ended.m_err);
}

TEST_F(BmhostFirmware, SaysThatTheAdaptorDidNotBegin) {
    const Ended ended = Update("refused.bin");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("AMC bay 3: the adaptor did not begin the upgrade: 0 (nothing done)\n", ended.m_out);
}

TEST_F(BmhostFirmware, DryRunTouchesNoAdaptor) {
    const Ended ended = Update("good.bin", {"--dry-run"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("", ended.m_err);
    EXPECT_EQ("AMC bay 3: nothing is written; an upgrade would write to 0x600\n"
              "  target  bay  state  file\n"
              "  1       3    0      " +
                  m_file + "\n",
              ended.m_out);
}

TEST_F(BmhostFirmware, BadFilesAreFoundBeforeTheAdaptorIsLoaded) {
    const Ended ended = RunStub("create_exits", {"--simulated", "firmware", "update", "--target", "rtm", "/nowhere"});
    EXPECT_EQ(2, ended.m_status);
    EXPECT_EQ("bmhost: firmware update: FILE /nowhere: No such file or directory\n", ended.m_err);
}

TEST_F(BmhostFirmware, WithoutATerminalNeedsYes) {
    const std::string file = testing::TempDir() + std::to_string(getpid()) + "asked.bin";
    std::ofstream(file) << "image";
    const Ended ended = RunStub("good", {"--simulated", "firmware", "update", "--target", "rtm", file});
    std::remove(file.c_str());
    EXPECT_EQ(2, ended.m_status);
    EXPECT_EQ("bmhost: firmware update: expected --yes where there is no terminal to ask on\n", ended.m_err);
}

TEST_F(BmhostFirmware, IsOneLineOfJson) {
    const Ended ended = Update("good.bin", {"--json"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out, MatchesRegex(".\"op\":\"firmware update\",\"result\":1,\"good\":true,\"changed\":true,.*"
                                          "\"state\":2,\"state_name\":\"done\",.*\n"));
    EXPECT_EQ(1, std::count(ended.m_out.begin(), ended.m_out.end(), '\n'));
}

TEST_F(BmhostFirmware, ShowSaysThatThereWasNone) {
    const Ended ended = RunStub("create_exits", {"firmware", "show"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("no upgrade yet\n", ended.m_out);
}

} // namespace
