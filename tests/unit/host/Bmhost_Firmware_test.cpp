// `bmhost firmware` through the program, with an adaptor whose upgrades end at once.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class BmhostFirmware : public testing::Test {
protected:
    ENDED Update(const std::string& a_Image, const std::vector<std::string>& a_More = {}) {
        m_File = testing::TempDir() + std::to_string(getpid()) + a_Image;
        std::ofstream(m_File) << "image";
        std::vector<std::string> l_Words = {"firmware", "update", "--target", "amc", "--bay", "3", m_File};
        l_Words.insert(l_Words.end(), a_More.begin(), a_More.end());
        const ENDED l_Ended = RunStub("good", l_Words);
        std::remove(m_File.c_str());
        return l_Ended;
    }

    std::string m_File;
};

TEST_F(BmhostFirmware, FollowsAnUpgradeThatPasses) {
    const ENDED l_Ended = Update("good.bin");
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.m_Out, MatchesRegex("AMC bay 3: upgrade in progress, 0 s\nAMC bay 3: upgraded, [0-9]+ s\n"));
    EXPECT_EQ("", l_Ended.m_Err);
}

TEST_F(BmhostFirmware, ShowsWhatTheToolSaidOfAnUpgradeThatFails) {
    const ENDED l_Ended = Update("bad.bin");
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.m_Out, HasSubstr("AMC bay 3: the upgrade failed, "));
    EXPECT_EQ("the firmware tool's words\n", l_Ended.m_Err);
}

TEST_F(BmhostFirmware, SaysThatTheAdaptorDidNotBegin) {
    const ENDED l_Ended = Update("refused.bin");
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("AMC bay 3: the adaptor did not begin the upgrade: 0 (nothing done)\n", l_Ended.m_Out);
}

TEST_F(BmhostFirmware, DryRunTouchesNoAdaptor) {
    const ENDED l_Ended = Update("good.bin", {"--dry-run"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("", l_Ended.m_Err);
    EXPECT_EQ("AMC bay 3: nothing is written; an upgrade would write to 0x600\n"
              "  target  bay  state  file\n"
              "  1       3    0      " +
                  m_File + "\n",
              l_Ended.m_Out);
}

TEST_F(BmhostFirmware, BadFilesAreFoundBeforeTheAdaptorIsLoaded) {
    const ENDED l_Ended = RunStub("create_exits", {"firmware", "update", "--target", "rtm", "/nowhere"});
    EXPECT_EQ(2, l_Ended.m_Status);
    EXPECT_EQ("bmhost: firmware update: FILE /nowhere: No such file or directory\n", l_Ended.m_Err);
}

TEST_F(BmhostFirmware, ShowSaysThatTheStateCannotBeRead) {
    const ENDED l_Ended = RunStub("good", {"firmware", "show"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("the state of firmware upgrades cannot be read: 0 (nothing done)\n", l_Ended.m_Out);
}

TEST_F(BmhostFirmware, IsForPeople) {
    EXPECT_EQ(2, RunStub("good", {"--json", "firmware", "show"}).m_Status);
}

} // namespace
