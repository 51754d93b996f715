// `bmhost dsp`, `switch` and `pstn`, on adaptors that have DSPs and switch ports only.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(BmhostDsp, ShowsEachDspWithItsAddressesOrThatItHasNone) {
    const ENDED l_Ended = RunStub("board", {"dsp"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address        IP address\n"
              "  1    3        1           02:00:00:00:00:01  192.168.0.23\n"
              "  2    3        2           02:00:00:00:00:02  none\n"
              "  3    5        1           02:00:00:00:00:03  not in service\n",
              l_Ended.m_Out);
}

TEST(BmhostDsp, ThatHasNoAddressComesWithWhatTheStorageSaid) {
    const ENDED l_Unseeded = RunStub("board_unseeded", {"dsp"});
    EXPECT_EQ(1, l_Unseeded.m_Status);
    EXPECT_THAT(l_Unseeded.m_Out, HasSubstr("  2    3        2           02:00:00:00:00:02  none\n"));
    EXPECT_THAT(l_Unseeded.ErrorLines(),
                ElementsAre("bmhost: the storage said: EndTransaction - /x/.new.addresses: Read-only file system"));
    const ENDED l_Unread = RunStub("board_unread", {"dsp"});
    EXPECT_EQ(1, l_Unread.m_Status);
    EXPECT_THAT(l_Unread.m_Out, HasSubstr("  2    3        2           02:00:00:00:00:02  not read\n"));
    EXPECT_THAT(l_Unread.ErrorLines(),
                ElementsAre("bmhost: the storage said: StartTransaction - /x: Permission denied"));
    EXPECT_THAT(RunStub("board", {"dsp"}).ErrorLines(), IsEmpty()) << "it said nothing";
}

TEST(BmhostDsp, InAShellHasWhatTheStorageSaidBefore) {
    const ENDED l_Ended = RunStub("board_unseeded", {"shell"}, "status\ndsp\n");
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("bmhost: the storage said: EndTransaction - /x/.new.addresses"));
}

TEST(BmhostDsp, IsAllRightWhenEachDspHasItsAddresses) {
    EXPECT_EQ(0, RunStub("board_good", {"dsp"}).m_Status);
}

TEST(BmhostDsp, SaysThatThereIsNone) {
    const ENDED l_Ended = RunStub("board_empty", {"dsp"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("no DSP\n", l_Ended.m_Out);
}

TEST(BmhostDspSetIp, ShowsTheDspAsItIsReadAfterwards) {
    const ENDED l_Ended = RunStub("board", {"dsp", "set-ip", "2", "192.168.0.99"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.ErrorLines(), IsEmpty());
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address        IP address\n"
              "  2    3        2           02:00:00:00:00:02  192.168.0.99\n",
              l_Ended.m_Out);
}

TEST(BmhostDspSetIp, TellsWhatTheAdaptorAnsweredToARefusal) {
    const ENDED l_NoDsp = RunStub("board", {"dsp", "set-ip", "4", "192.168.0.99"});
    EXPECT_EQ(1, l_NoDsp.m_Status);
    EXPECT_EQ("", l_NoDsp.m_Out);
    EXPECT_THAT(l_NoDsp.ErrorLines(),
                ElementsAre("bmhost: DSP 4: there is no such DSP, or it is not in service; the adaptor answered 4 (key "
                            "missing or unknown)"));
    const ENDED l_NotStored = RunStub("board", {"dsp", "set-ip", "1", "10.0.0.1"});
    EXPECT_EQ(1, l_NotStored.m_Status);
    EXPECT_THAT(l_NotStored.ErrorLines(),
                ElementsAre("bmhost: DSP 1: the address was not stored; the adaptor answered 0 (nothing done)"));
    EXPECT_THAT(RunStub("board_unseeded", {"dsp", "set-ip", "1", "10.0.0.1"}).ErrorLines(),
                ElementsAre("bmhost: DSP 1: the address was not stored; the adaptor answered 0 (nothing done)",
                            "bmhost: the storage said: EndTransaction - /x/.new.addresses: Read-only file system"));
}

TEST(BmhostSwitch, ShowsEachPortAndThatALinkIsUnknown) {
    const ENDED l_Ended = RunStub("board", {"switch"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("  port  name    leads to  state         link\n"
              "  1     Port 1  fabric    enabled       up\n"
              "  2     Port 2  RTM       disabled (5)  unknown\n",
              l_Ended.m_Out);
}

TEST(BmhostSwitch, IsAllRightWhenEachLinkIsKnown) {
    const ENDED l_Ended = RunStub("board_good", {"switch"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.m_Out, HasSubstr("  2     Port 2  RTM       disabled  down\n"));
}

TEST(BmhostSwitch, SaysThatThereIsNoPort) {
    const ENDED l_Ended = RunStub("board_empty", {"switch"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("no switch port: a blade without DSPs serves none\n", l_Ended.m_Out);
}

TEST(BmhostSwitch, SetsAPortAndShowsItAsItIsReadAfterwards) {
    const ENDED l_Disabled = RunStub("board", {"switch", "disable", "1"});
    EXPECT_EQ(0, l_Disabled.m_Status);
    EXPECT_THAT(l_Disabled.ErrorLines(), IsEmpty());
    EXPECT_EQ("  port  name    leads to  state     link\n"
              "  1     Port 1  fabric    disabled  down\n",
              l_Disabled.m_Out);
    EXPECT_THAT(RunStub("board_good", {"switch", "enable", "2"}).m_Out,
                HasSubstr("  2     Port 2  RTM       enabled  up\n"));
}

TEST(BmhostSwitch, TellsWhatTheAdaptorAnsweredToARefusal) {
    const ENDED l_Ended = RunStub("board", {"switch", "enable", "2"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("", l_Ended.m_Out);
    EXPECT_THAT(
        l_Ended.ErrorLines(),
        ElementsAre("bmhost: port 2: the switch or the storage refused it; the adaptor answered 0 (nothing done)"));
    EXPECT_THAT(RunStub("board", {"switch", "enable", "4"}).ErrorLines(),
                ElementsAre(HasSubstr("port 4: the blade serves no such port; the adaptor answered 4 ")));
}

TEST(BmhostBoard, RefusesWhatCannotBeMeantBeforeTheAdaptorIsLoaded) {
    const std::vector<std::vector<std::string>> l_Cases = {{"--json", "dsp"},
                                                           {"dsp", "set-ip", "0", "10.0.0.2"},
                                                           {"switch", "enable", "5"},
                                                           {"--json", "switch"},
                                                           {"pstn", "1"},
                                                           {"--json", "pstn"}};
    for (std::vector<std::string> l_Words : l_Cases) {
        l_Words.insert(l_Words.begin(), {"--adaptor", "/nowhere.so"});
        const ENDED l_Ended = RunHost(l_Words);
        EXPECT_EQ(2, l_Ended.m_Status) << testing::PrintToString(l_Words);
        EXPECT_EQ("", l_Ended.m_Out);
    }
}

TEST(BmhostPstn, ShowsTheRecordsOfTheBladeItRunsIn) {
    const std::string l_Folder = testing::TempDir() + "bmhost-pstn-" + std::to_string(getpid());
    std::filesystem::create_directories(l_Folder);
    std::ofstream(l_Folder + "/pstn.jsonl") << R"({"open":1,"write":1,"text":"DataValid=1"})" << '\n';
    setenv("BLADESIM_RUN_DIR", l_Folder.c_str(), 1);
    const ENDED l_Ended = RunHost({"pstn"});
    unsetenv("BLADESIM_RUN_DIR");
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("  open  write  record       result\n"
              "  1     1      DataValid=1  told\n",
              l_Ended.m_Out);
    const ENDED l_Outside = RunHost({"pstn"});
    EXPECT_EQ(1, l_Outside.m_Status);
    EXPECT_THAT(l_Outside.m_Out, HasSubstr("no simulated blade"));
    std::filesystem::remove_all(l_Folder);
}

} // namespace
