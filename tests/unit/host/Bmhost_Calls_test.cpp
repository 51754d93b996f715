// Calls through the program: what it calls, what it shows, how it ends.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* READ_LINE =
    R"({"op":"read","group":"0x10","result":1,"row":[{"id":"0x1","type":1,"key":true,"value":3},)"
    R"({"id":"0x2","type":4,"key":true,"value":"é"}]})"
    "\n";

TEST(Bmhost, ReadAloneCallsInitBeforeAndFinAfterInSilence) {
    const ENDED l_Ended = RunStub("good", {"--json", "read", "0x10", "1=3", "2=\xE9"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ(READ_LINE, l_Ended.m_Out);
    EXPECT_EQ("Init Read Fin Destroy", l_Ended.StubCalls());
    EXPECT_THAT(l_Ended.ErrorLines(), IsEmpty());
}

TEST(Bmhost, TableAloneCallsInitBeforeAndFinAfterInSilence) {
    const ENDED l_Ended = RunStub("good", {"--json", "table", "0x10"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ(R"({"op":"table","group":"0x10","result":1,"rows":[[{"id":"0x13","type":4,"key":false,"value":"one"}],)"
              R"([{"id":"0x13","type":4,"key":false,"value":"\u001b[31mtwoé "}]]})"
              "\n",
              l_Ended.m_Out);
    EXPECT_EQ("Init Table Fin Destroy", l_Ended.StubCalls());
}

TEST(Bmhost, WriteAloneCallsInitBeforeAndFinAfterInSilence) {
    const ENDED l_Ended = RunStub("good", {"--json", "write", "0x10", "1=3", "--", "2=4"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("{\"op\":\"write\",\"group\":\"0x10\",\"result\":1}\n", l_Ended.m_Out);
    EXPECT_EQ("Init Write Fin Destroy", l_Ended.StubCalls());
}

TEST(Bmhost, LifecycleCallAloneMakesNoOther) {
    for (const auto& [l_Word, l_Call] :
         {std::pair("init", "Init"), std::pair("start", "Start"), std::pair("stop", "Stop"), std::pair("fin", "Fin")}) {
        const ENDED l_Ended = RunStub("good", {"--json", l_Word});
        EXPECT_EQ(0, l_Ended.m_Status);
        EXPECT_EQ(std::string(R"({"op":")") + l_Word + "\",\"result\":1}\n", l_Ended.m_Out);
        EXPECT_EQ(std::string(l_Call) + " Destroy", l_Ended.StubCalls());
    }
}

TEST(Bmhost, ResultThatIsNotOneIsStatusOne) {
    EXPECT_EQ(1, RunStub("good", {"read", "0x12"}).m_Status);
    EXPECT_EQ(1, RunStub("good", {"table", "0x12"}).m_Status);
    EXPECT_EQ(1, RunStub("good", {"write", "0x12", "--"}).m_Status);
    EXPECT_EQ(1, RunStub("init_fails", {"init"}).m_Status);
}

TEST(Bmhost, InitThatFailsBeforeACallAloneDoesNotCount) {
    const ENDED l_Ended = RunStub("init_fails", {"--json", "table", "0x12"});
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x12\",\"result\":12,\"rows\":[]}\n", l_Ended.m_Out);
    EXPECT_EQ(0, RunStub("init_fails", {"table", "0x10"}).m_Status);
}

TEST(Bmhost, NullRowAndUntouchedTableAreNull) {
    EXPECT_EQ("{\"op\":\"read\",\"group\":\"0x99\",\"result\":0,\"row\":null}\n",
              RunStub("good", {"--json", "read", "0x99"}).m_Out);
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x99\",\"result\":0,\"rows\":null}\n",
              RunStub("good", {"--json", "table", "0x99"}).m_Out);
}

TEST(Bmhost, TextOfATableKeepsControlBytesOffTheTerminal) {
    EXPECT_EQ("table 0x10: 1 (success)\n"
              "  0x13\n"
              "  one\n"
              "  ?[31mtwo?\n",
              RunStub("good", {"table", "0x10"}).m_Out);
}

TEST(Bmhost, BadUsageIsStatusTwoWithOneLineAndNoAdaptor) {
    const std::vector<std::vector<std::string>> l_Cases = {
        {},
        {"inti"},
        {"--bogus", "init"},
        {"--mode", "one", "init"},
        {"init", "now"},
        {"read"},
        {"read", "nosuch"},
        {"read", "0x10", "1"},
        {"write", "0x10", "1=2"},
        {"table", "0x10", "--json"},
        {"script"},
        {"script", "/no/such/file"},
        {"--json", "inventory"},
        {"--json", "groups"},
        {"inventory", "now"},
        {"--log", "/dev/null/log", "init"},
    };
    for (const auto& l_Words : l_Cases) {
        const ENDED l_Ended = RunStub("good", l_Words);
        EXPECT_EQ(2, l_Ended.m_Status) << testing::PrintToString(l_Words);
        EXPECT_EQ("", l_Ended.m_Out);
        EXPECT_EQ("", l_Ended.StubCalls());
        EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre(StartsWith("bmhost: "))) << testing::PrintToString(l_Words);
    }
}

TEST(Bmhost, LogFileThatCannotBeOpenedIsNamed) {
    EXPECT_THAT(RunStub("good", {"--log", "/dev/null/log", "init"}).m_Err,
                StartsWith("bmhost: log file /dev/null/log: "));
}

TEST(Bmhost, LogGoesToTheFileAsWell) {
    const std::string l_File = testing::TempDir() + "bmhost-log-" + std::to_string(getpid());
    const ENDED l_Ended = RunStub("good", {"--log", l_File, "init"});
    EXPECT_EQ(0, l_Ended.m_Status);
    std::ifstream l_Stream(l_File);
    std::string l_Text((std::istreambuf_iterator<char>(l_Stream)), {});
    std::remove(l_File.c_str());
    EXPECT_EQ(l_Ended.m_Err, l_Text);
    EXPECT_THAT(l_Text, HasSubstr("<3> [stub] Init\n"));
}

TEST(Bmhost, HelpVersionAndGroupsNeedNoAdaptor) {
    for (const std::vector<std::string>& l_Words :
         {std::vector<std::string>{"--help"}, {"table", "--help"}, {"--version"}, {"groups"}}) {
        std::vector<std::string> l_All = {"--adaptor", "/no/such/file"};
        l_All.insert(l_All.end(), l_Words.begin(), l_Words.end());
        const ENDED l_Ended = RunHost(l_All);
        EXPECT_EQ(0, l_Ended.m_Status);
        EXPECT_NE("", l_Ended.m_Out);
        EXPECT_EQ("", l_Ended.m_Err);
    }
}

} // namespace
