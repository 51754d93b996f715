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

constexpr const char* ReadLine =
    R"({"op":"read","group":"0x10","result":1,"row":[{"id":"0x1","type":1,"key":true,"value":3},)"
    R"({"id":"0x2","type":4,"key":true,"value":"é"}]})"
    "\n";

TEST(Bmhost, ReadAloneCallsInitBeforeAndFinAfterInSilence) {
    const Ended ended = RunStub("good", {"--json", "read", "0x10", "1=3", "2=\xE9"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ(ReadLine, ended.m_out);
    EXPECT_EQ("Init Read Fin Destroy", ended.StubCalls());
    EXPECT_THAT(ended.ErrorLines(), IsEmpty());
}

TEST(Bmhost, TakesItsOptionsBehindTheCommandAsWell) {
    EXPECT_EQ(ReadLine, RunStub("good", {"read", "0x10", "1=3", "2=\xE9", "--json"}).m_out);
    EXPECT_EQ(ReadLine, RunStub("good", {"read", "--json", "0x10", "1=3", "2=\xE9"}).m_out);
    EXPECT_EQ("{\"op\":\"write\",\"group\":\"0x10\",\"result\":1}\n",
              RunStub("good", {"write", "0x10", "1=3", "--", "2=4", "--json"}).m_out);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", RunStub("good", {"script", "-", "--json"}, "init\n").m_out);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", RunStub("good", {"shell", "--json"}, "init\n").m_out);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", RunHost({"init", "--json", "--adaptor", StubFile("good")}).m_out);
}

TEST(Bmhost, SuggestsTheWordThatWasMeant) {
    EXPECT_THAT(RunStub("good", {"inventroy"}).ErrorLines(), ElementsAre(HasSubstr("; did you mean inventory?")));
    EXPECT_THAT(RunStub("good", {"script", "-"}, "raed 1\n").ErrorLines(),
                ElementsAre(HasSubstr("; did you mean read?")));
    EXPECT_THAT(RunStub("good", {"shell"}, "satus\n").ErrorLines(), ElementsAre(HasSubstr("; did you mean status?")));
}

TEST(Bmhost, TableAloneCallsInitBeforeAndFinAfterInSilence) {
    const Ended ended = RunStub("good", {"--json", "table", "0x10"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ(R"({"op":"table","group":"0x10","result":1,"rows":[[{"id":"0x13","type":4,"key":false,"value":"one"}],)"
              R"([{"id":"0x13","type":4,"key":false,"value":"\u001b[31mtwoé "}]]})"
              "\n",
              ended.m_out);
    EXPECT_EQ("Init Table Fin Destroy", ended.StubCalls());
}

TEST(Bmhost, WriteAloneCallsInitBeforeAndFinAfterInSilence) {
    const Ended ended = RunStub("good", {"--json", "write", "0x10", "1=3", "--", "2=4"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("{\"op\":\"write\",\"group\":\"0x10\",\"result\":1}\n", ended.m_out);
    EXPECT_EQ("Init Write Fin Destroy", ended.StubCalls());
}

TEST(Bmhost, LifecycleCallAloneMakesNoOther) {
    for (const auto& [word, call] :
         {std::pair("init", "Init"), std::pair("start", "Start"), std::pair("stop", "Stop"), std::pair("fin", "Fin")}) {
        const Ended ended = RunStub("good", {"--json", word});
        EXPECT_EQ(0, ended.m_status);
        EXPECT_EQ(std::string(R"({"op":")") + word + "\",\"result\":1}\n", ended.m_out);
        EXPECT_EQ(std::string(call) + " Destroy", ended.StubCalls());
    }
}

TEST(Bmhost, ResultThatIsNotOneIsStatusOne) {
    EXPECT_EQ(1, RunStub("good", {"read", "0x12"}).m_status);
    EXPECT_EQ(1, RunStub("good", {"table", "0x12"}).m_status);
    EXPECT_EQ(1, RunStub("good", {"write", "0x12", "--"}).m_status);
    EXPECT_EQ(1, RunStub("init_fails", {"init"}).m_status);
}

TEST(Bmhost, InitThatFailsBeforeACallAloneDoesNotCount) {
    const Ended ended = RunStub("init_fails", {"--json", "table", "0x12"});
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x12\",\"result\":12,\"rows\":[]}\n", ended.m_out);
    EXPECT_EQ(0, RunStub("init_fails", {"table", "0x10"}).m_status);
}

TEST(Bmhost, NullRowAndUntouchedTableAreNull) {
    EXPECT_EQ("{\"op\":\"read\",\"group\":\"0x99\",\"result\":0,\"row\":null}\n",
              RunStub("good", {"--json", "read", "0x99"}).m_out);
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x99\",\"result\":0,\"rows\":null}\n",
              RunStub("good", {"--json", "table", "0x99"}).m_out);
}

TEST(Bmhost, TextOfATableKeepsControlBytesOffTheTerminal) {
    EXPECT_EQ("table 0x10: 1 (success)\n"
              "  0x13\n"
              "  one\n"
              "  ?[31mtwo?\n",
              RunStub("good", {"table", "0x10"}).m_out);
}

TEST(Bmhost, BadUsageIsStatusTwoWithOneLineAndNoAdaptor) {
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"inti"},
        {"--bogus", "init"},
        {"--mode", "one", "init"},
        {"init", "now"},
        {"read"},
        {"read", "nosuch"},
        {"read", "0x10", "1"},
        {"write", "0x10", "1=2"},
        {"table", "0x10", "--jsno"},
        {"script"},
        {"script", "/no/such/file"},
        {"inventory", "now"},
        {"--log", "/dev/null/log", "init"},
    };
    for (const auto& words : cases) {
        const Ended ended = RunStub("good", words);
        EXPECT_EQ(2, ended.m_status) << testing::PrintToString(words);
        EXPECT_EQ("", ended.m_out);
        EXPECT_EQ("", ended.StubCalls());
        EXPECT_THAT(ended.ErrorLines(), ElementsAre(StartsWith("bmhost: "))) << testing::PrintToString(words);
    }
}

TEST(Bmhost, LogFileThatCannotBeOpenedIsNamed) {
    EXPECT_THAT(RunStub("good", {"--log", "/dev/null/log", "init"}).m_err,
                StartsWith("bmhost: log file /dev/null/log: "));
}

TEST(Bmhost, LogGoesToTheFileAsWell) {
    const std::string file = testing::TempDir() + "bmhost-log-" + std::to_string(getpid());
    const Ended ended = RunStub("good", {"--log", file, "init"});
    EXPECT_EQ(0, ended.m_status);
    std::ifstream stream(file);
    std::string text((std::istreambuf_iterator<char>(stream)), {});
    std::remove(file.c_str());
    EXPECT_EQ(ended.m_err, text);
    EXPECT_THAT(text, HasSubstr("<3> [stub] Init\n"));
}

TEST(Bmhost, HelpVersionAndGroupsNeedNoAdaptor) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"--help"},
                                                  {"table", "--help"},
                                                  {"--version"},
                                                  {"-V"},
                                                  {"groups"},
                                                  {"help"},
                                                  {"help", "led", "set"},
                                                  {"completions", "le"}}) {
        std::vector<std::string> all = {"--adaptor", "/no/such/file"};
        all.insert(all.end(), words.begin(), words.end());
        const Ended ended = RunHost(all);
        EXPECT_EQ(0, ended.m_status);
        EXPECT_NE("", ended.m_out);
        EXPECT_EQ("", ended.m_err);
    }
}

} // namespace
