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

// The stubs bring no controller.
constexpr const char* Simulated = "bmhost: simulated inventory: /dev/ipmi0: No such file or directory";

TEST(BmhostDsp, ShowsEachDspWithItsAddressesOrThatItHasNone) {
    const Ended ended = RunStub("board", {"--simulated", "--mode", "1", "dsp"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address        IP address\n"
              "  1    3        1           02:00:00:00:00:01  192.168.0.23\n"
              "  2    3        2           02:00:00:00:00:02  none\n"
              "  3    5        1           02:00:00:00:00:03  not in service\n",
              ended.m_out);
}

TEST(BmhostDsp, ThatHasNoAddressComesWithWhatTheStorageSaid) {
    const Ended unseeded = RunStub("board_unseeded", {"--simulated", "--mode", "1", "dsp"});
    EXPECT_EQ(1, unseeded.m_status);
    EXPECT_THAT(unseeded.m_out, HasSubstr("  2    3        2           02:00:00:00:00:02  none\n"));
    EXPECT_THAT(
        unseeded.ErrorLines(),
        ElementsAre("bmhost: the storage said: EndTransaction - /x/.new.addresses: Read-only file system", Simulated));
    const Ended unread = RunStub("board_unread", {"--simulated", "--mode", "1", "dsp"});
    EXPECT_EQ(1, unread.m_status);
    EXPECT_THAT(unread.m_out, HasSubstr("  2    3        2           02:00:00:00:00:02  not read\n"));
    EXPECT_THAT(unread.ErrorLines(),
                ElementsAre("bmhost: the storage said: StartTransaction - /x: Permission denied", Simulated));
    EXPECT_THAT(RunStub("board", {"--simulated", "--mode", "1", "dsp"}).ErrorLines(), ElementsAre(Simulated))
        << "the storage said nothing";
}

TEST(BmhostDsp, InAShellHasWhatTheStorageSaidBefore) {
    const Ended ended = RunStub("board_unseeded", {"shell"}, "status\ndsp\n");
    EXPECT_THAT(ended.m_err, HasSubstr("bmhost: the storage said: EndTransaction - /x/.new.addresses"));
}

TEST(BmhostDsp, IsAllRightWhenEachDspHasItsAddresses) {
    EXPECT_EQ(0, RunStub("board_good", {"--simulated", "--mode", "1", "dsp"}).m_status);
    EXPECT_EQ(4, RunStub("board_good", {"--mode", "1", "dsp"}).m_status) << "nobody asked for a simulated inventory";
}

TEST(BmhostDsp, SaysThatThereIsNone) {
    const Ended ended = RunStub("board_empty", {"--simulated", "dsp"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("no DSP\n", ended.m_out);
}

TEST(BmhostDspSetIp, ShowsTheDspAsItIsReadAfterwards) {
    const Ended ended = RunStub("board", {"--simulated", "dsp", "set-ip", "2", "192.168.0.99"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), IsEmpty());
    EXPECT_EQ("  DSP  AMC bay  DSP of AMC  MAC address        IP address\n"
              "  2    3        2           02:00:00:00:00:02  192.168.0.99\n"
              "the address holds from the next start\n",
              ended.m_out);
}

TEST(BmhostDspSetIp, IsOneLineOfJson) {
    EXPECT_EQ(R"({"op":"dsp set-ip","result":1,"good":true,"changed":true,"dsp":1,"address":"192.168.0.99",)"
              R"("before":"192.168.0.23","holds_from":"next start","remarks":[],"reasons":[],"cure":""})"
              "\n",
              RunStub("board", {"--simulated", "--json", "dsp", "set-ip", "1", "192.168.0.99"}).m_out);
    EXPECT_THAT(RunStub("board", {"--simulated", "dsp", "set-ip", "1", "192.168.0.23", "--json"}).m_out,
                HasSubstr(R"("changed":false)"));
}

TEST(BmhostDspSetIp, TellsWhatTheAdaptorAnsweredToARefusal) {
    const Ended noDsp = RunStub("board", {"--simulated", "dsp", "set-ip", "4", "192.168.0.99"});
    EXPECT_EQ(1, noDsp.m_status);
    EXPECT_EQ("", noDsp.m_out);
    EXPECT_THAT(noDsp.ErrorLines(),
                ElementsAre("bmhost: DSP 4: there is no such DSP, or it is not in service; the adaptor answered 4 (key "
                            "missing or unknown)"));
    const Ended notStored = RunStub("board", {"--simulated", "dsp", "set-ip", "1", "10.0.0.1"});
    EXPECT_EQ(1, notStored.m_status);
    EXPECT_THAT(notStored.ErrorLines(),
                ElementsAre("bmhost: DSP 1: the address was not stored; the adaptor answered 0 (nothing done)"));
    EXPECT_THAT(RunStub("board_unseeded", {"--simulated", "dsp", "set-ip", "1", "10.0.0.1"}).ErrorLines(),
                ElementsAre("bmhost: DSP 1: the address was not stored; the adaptor answered 0 (nothing done)",
                            "bmhost: the storage said: EndTransaction - /x/.new.addresses: Read-only file system"));
}

TEST(BmhostSwitch, ShowsEachPortAndThatALinkIsUnknown) {
    const Ended ended = RunStub("board", {"--simulated", "--mode", "1", "switch"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("  port  name    leads to  state                      link\n"
              "  1     Port 1  fabric    enabled                    up\n"
              "  2     Port 2  RTM       disabled (the state is 5)  unknown\n",
              ended.m_out);
}

TEST(BmhostSwitch, IsAllRightWhenEachLinkIsKnown) {
    const Ended ended = RunStub("board_good", {"--simulated", "--mode", "1", "switch"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out, HasSubstr("  2     Port 2  RTM       disabled  down\n"));
}

TEST(BmhostSwitch, SaysThatThereIsNoPort) {
    const Ended ended = RunStub("board_empty", {"--simulated", "switch"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("no switch port: a blade without DSPs serves none\n", ended.m_out);
}

TEST(BmhostSwitch, SetsAPortAndShowsItAsItIsReadAfterwards) {
    const Ended disabled = RunStub("board", {"--simulated", "switch", "disable", "1"});
    EXPECT_EQ(0, disabled.m_status);
    EXPECT_THAT(disabled.ErrorLines(), IsEmpty());
    EXPECT_EQ("  port  name    leads to  state     link\n"
              "  1     Port 1  fabric    disabled  down\n",
              disabled.m_out);
    EXPECT_THAT(RunStub("board_good", {"--simulated", "switch", "enable", "2"}).m_out,
                HasSubstr("  2     Port 2  RTM       enabled  up\n"));
}

TEST(BmhostSwitch, IsOneLineOfJson) {
    EXPECT_EQ(R"({"op":"switch disable","result":1,"good":true,"changed":true,"port":1,"enabled":false,"remarks":[],)"
              R"("reasons":[],"cure":""})"
              "\n",
              RunStub("board", {"--simulated", "--json", "switch", "disable", "1"}).m_out);
    EXPECT_THAT(RunStub("board", {"--simulated", "switch", "enable", "1", "--json"}).m_out,
                HasSubstr(R"("changed":false)"));
    EXPECT_EQ(R"({"op":"switch enable","result":0,"good":false,"changed":false,"port":2,"enabled":true,)"
              R"x("remarks":["port 2: the switch or the storage refused it; the adaptor answered 0 (nothing done)"],)x"
              R"("reasons":["the switch says why"],"cure":""})"
              "\n",
              RunStub("board", {"--simulated", "--json", "switch", "enable", "2"}).m_out);
}

TEST(BmhostSwitch, TellsWhatTheAdaptorAnsweredToARefusal) {
    const Ended ended = RunStub("board", {"--simulated", "switch", "enable", "2"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("", ended.m_out);
    EXPECT_THAT(
        ended.ErrorLines(),
        ElementsAre("bmhost: port 2: the switch or the storage refused it; the adaptor answered 0 (nothing done)",
                    "bmhost: the adaptor logged: the switch says why"));
    EXPECT_THAT(RunStub("board", {"--simulated", "switch", "enable", "4"}).ErrorLines(),
                ElementsAre(HasSubstr("port 4: the blade serves no such port; the adaptor answered 4 ")));
}

TEST(BmhostBoard, RefusesWhatCannotBeMeantBeforeTheAdaptorIsLoaded) {
    const std::vector<std::vector<std::string>> cases = {
        {"dsp", "set-ip", "0", "10.0.0.2"}, {"switch", "enable", "5"}, {"pstn", "1"}};
    for (std::vector<std::string> words : cases) {
        words.insert(words.begin(), {"--adaptor", "/nowhere.so"});
        const Ended ended = RunHost(words);
        EXPECT_EQ(2, ended.m_status) << testing::PrintToString(words);
        EXPECT_EQ("", ended.m_out);
    }
}

TEST(BmhostPstn, ShowsTheRecordsOfTheBladeItRunsIn) {
    const std::string folder = testing::TempDir() + "bmhost-pstn-" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/pstn.jsonl") << R"({"open":1,"write":1,"text":"DataValid=1"})" << '\n';
    setenv("BLADESIM_RUN_DIR", folder.c_str(), 1);
    const Ended ended = RunHost({"pstn"});
    unsetenv("BLADESIM_RUN_DIR");
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("  open  write  record       result\n"
              "  1     1      DataValid=1  told\n",
              ended.m_out);
    const Ended outside = RunHost({"pstn"});
    EXPECT_EQ(1, outside.m_status);
    EXPECT_THAT(outside.m_out, HasSubstr("no simulated blade"));
    std::filesystem::remove_all(folder);
}

} // namespace
