// Start-up of the DSPs: which tools run, in which order, with which words, and what each failure gives.
#include "adaptor/startup/IPMI_Startup.h"

#include "adaptor/startup/StartTest.h"

#include <algorithm>
#include <iterator>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class DspStartup : public START_TEST {
protected:
    /// The lines of start-up itself since the last call, all of level 3; the teaching's own are left out.
    std::vector<LOG_LINE> StartupLines() {
        std::vector<LOG_LINE> l_Lines = Lines();
        std::erase_if(l_Lines, [](const LOG_LINE& a_Line) {
            return a_Line.m_Component != "IPMI" && a_Line.m_Component != "Media Adaptor";
        });
        return l_Lines;
    }
    static LOG_LINE Ipmi(const std::string& a_Text) { return {BM_LOG_ERROR, "IPMI", a_Text}; }
    static LOG_LINE Media(const std::string& a_Text) { return {BM_LOG_ERROR, "Media Adaptor", a_Text}; }

    /// The text of a DSP that is off the subnet.
    static std::string OffSubnet(int a_Index, const std::string& a_IP) {
        return "m_pDspInfo[" + std::to_string(a_Index) + "] IP Address =" + a_IP +
               ", is not on same subnet(0xFFF0) of eth6, IP Address = 192.168.0.1";
    }
    /// Start gives this, before any tool and without a word to the host.
    void ExpectNothingRuns(int a_Result) {
        EXPECT_EQ(Start(), a_Result);
        EXPECT_THAT(m_Board.Commands(), IsEmpty());
        EXPECT_THAT(BoardDriver().m_Calls, IsEmpty());
        EXPECT_THAT(Statuses(), IsEmpty());
    }
};

// ---- what runs

TEST_F(DspStartup, RunsTheToolsThenTheMediaServer) {
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, Boot(), Diag(), MEDIA_START));
}

TEST_F(DspStartup, RtmWithoutTrunksIsToldToTheTools) {
    BeWithRTM(1, 0);
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre("/k/bin/mavk_init -v -i", Boot(),
                                                "/k/bin/mavk_diag -v -a 30 -p -i" + DSP_WORDS, MEDIA_START));
}

TEST_F(DspStartup, RtmWithTrunksNeedsNoWord) {
    BeWithRTM(1, 4);
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_Board.Commands(),
                ElementsAre("/k/bin/mavk_init -v", Boot(), "/k/bin/mavk_diag -v -a 30 -p" + DSP_WORDS, MEDIA_START));
}

TEST_F(DspStartup, TrunksOfAnRtmThatIsNotThereDoNotCount) {
    BeWithRTM(1, 4);
    Access::RTM(m_Adaptor).m_Present = 0;
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_Board.Commands(), Contains(INIT));
}

TEST_F(DspStartup, TeachesTheSwitchBetweenInitialisationAndBoot) {
    m_Board.m_OnTool = [](const std::string& a_Command) { BoardDriver().m_Calls.push_back(a_Command); };
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(BoardDriver().m_Calls,
                ElementsAre(INIT, "LearnByDSP 0 02:00:00:00:00:12", "LearnByDSP 1 02:00:00:00:00:13",
                            "Learn 7 02:00:00:00:00:10", "Learn 8 02:00:00:00:00:11", Boot(), Diag(), MEDIA_START));
}

TEST_F(DspStartup, WritesEachStepDown) {
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(StartupLines(),
                ElementsAre(Ipmi("TRACE- Calling mavk_init"), Ipmi(std::string("MAVK_INIT: ") + INIT),
                            Ipmi("TRACE - done Calling mavk_init with rc1=0"),
                            Ipmi("TRACE - Enter teaching block - Checking for product"),
                            Media("TRACE - Teaching the switch"), Ipmi("TRACE calling mavk_boot"),
                            Ipmi("TRACE -  0: 02:00:00:00:00:12"), Ipmi("TRACE -  1: 02:00:00:00:00:13"),
                            Media("MAVK_BOOT: " + Boot()), Ipmi("Successful download DSPs"),
                            Ipmi("MAVK_DIAG: " + Diag()), Ipmi("DSPs Post Test Pass")));
}

TEST_F(DspStartup, WritesACommandDownWhenItHasRun) {
    std::vector<std::size_t> l_Lines;
    m_Board.m_OnTool = [&](const std::string&) {
        for (const char* l_Tool : {"MAVK_INIT: ", "MAVK_BOOT: ", "MAVK_DIAG: "})
            l_Lines.push_back(m_Log.Texts(l_Tool).size());
    };
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(l_Lines, ElementsAre(0, 0, 0, /**/ 1, 0, 0, /**/ 1, 1, 0, /**/ 1, 1, 1));
}

TEST_F(DspStartup, TellsTheHostOfItsBeginningBeforeTheFirstToolAndOfItsEndBeforeTheMediaServer) {
    std::vector<std::size_t> l_Told;
    m_Board.m_OnTool = [&](const std::string&) { l_Told.push_back(Statuses().size()); };
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(l_Told, ElementsAre(1, 1, 1, 2));
    EXPECT_THAT(Statuses(), ElementsAre(3, 4));
}

TEST_F(DspStartup, HandsOnMoreDspsThanOneAmcHas) {
    KnowDSPs({"02:00:00:00:00:12", "02:00:00:00:00:13", "02:00:00:00:00:14", "02:00:00:00:00:15", "02:00:00:00:00:16"});
    StoreIP(3, "192.168.0.21");
    StoreIP(4, "192.168.0.20");
    StoreIP(5, "192.168.0.254");
    EXPECT_EQ(Start(), 1);
    const std::string l_Words = DSP_WORDS + " /2/02:00:00:00:00:14/192.168.0.21 /3/02:00:00:00:00:15/192.168.0.20"
                                            " /4/02:00:00:00:00:16/192.168.0.254";
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, Boot(l_Words), Diag(l_Words), MEDIA_START));
    EXPECT_THAT(BoardDriver().m_Calls, SizeIs(7));
}

TEST_F(DspStartup, SecondStartTakesTheDspsAsTheyAreThen) {
    EXPECT_EQ(Start(), 1);
    KnowDSPs({"02:00:00:00:00:32", "02:00:00:00:00:33", "02:00:00:00:00:34"});
    StoreIP(2, "192.168.0.99");
    StoreIP(3, "192.168.0.21");
    EXPECT_EQ(Start(), 1);
    const std::string l_Words = " /0/02:00:00:00:00:32/192.168.0.23 /1/02:00:00:00:00:33/192.168.0.99"
                                " /2/02:00:00:00:00:34/192.168.0.21";
    EXPECT_THAT(m_Board.Commands(),
                ElementsAre(INIT, Boot(), Diag(), MEDIA_START, INIT, Boot(l_Words), Diag(l_Words), MEDIA_START));
    EXPECT_THAT(Statuses(), ElementsAre(3, 4, 3, 4));
}

TEST_F(DspStartup, SecondStartDoesNotKnowAnAddressThatIsNoLongerThere) {
    EXPECT_EQ(Start(), 1);
    m_Storage.m_Files["telq_qub_dsp_iptable_cfg.xml"].erase(1);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(StartupLines().back(), Ipmi(OffSubnet(0, "")));
    EXPECT_THAT(m_Board.Commands(), SizeIs(4));
}

TEST_F(DspStartup, SecondStartWithoutDspsRunsNothingMore) {
    EXPECT_EQ(Start(), 1);
    KnowDSPs({});
    EXPECT_EQ(Start(), 0);
    EXPECT_THAT(m_Board.Commands(), SizeIs(4));
}

// ---- addresses

TEST_F(DspStartup, WithoutDspsAsksNobody) {
    KnowDSPs({});
    m_Board.m_Interfaces.clear();
    ExpectNothingRuns(0);
    EXPECT_THAT(StartupLines(), IsEmpty());
}

TEST_F(DspStartup, WithoutTheHostsAddressRunsNothing) {
    m_Board.m_Interfaces.clear();
    ExpectNothingRuns(0x30011);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi("Fail to get IP Address of = eth6")));
}

TEST_F(DspStartup, DspOffTheSubnetRunsNothing) {
    for (const char* l_IP : {"192.168.1.22", "10.168.0.22", "192.169.0.22", "192.168.0.22.7", "nowhere", ""}) {
        StoreIP(2, l_IP);
        ExpectNothingRuns(0);
        EXPECT_THAT(StartupLines(), ElementsAre(Ipmi(OffSubnet(1, l_IP))));
    }
}

TEST_F(DspStartup, FirstDspOffTheSubnetIsTheOnlyOneReported) {
    StoreIP(1, "192.168.7.23");
    StoreIP(2, "192.168.8.22");
    ExpectNothingRuns(0);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi(OffSubnet(0, "192.168.7.23"))));
}

TEST_F(DspStartup, DspWithoutAnAddressIsOffTheSubnet) {
    m_Storage.m_Files.clear();
    ExpectNothingRuns(0);
    EXPECT_THAT(Lines(), Contains(BmiError("Can not get IP Address of dsp[1]")));
    EXPECT_EQ(Start(), 0);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi(OffSubnet(0, ""))));
}

TEST_F(DspStartup, HoleInTheNumbersOfTheDspsIsADspOffTheSubnet) {
    Access::KnowDSPs(m_Adaptor, {{1, "02:00:00:00:00:12"}, {3, "02:00:00:00:00:14"}});
    ExpectNothingRuns(0);
    EXPECT_THAT(Errors(), Contains("Fail to get MAC Address of DSP[2]"));
    EXPECT_EQ(Start(), 0);
    EXPECT_THAT(StartupLines(), ElementsAre(Ipmi(OffSubnet(1, ""))));
}

TEST_F(DspStartup, CommandWithinAnAddressIsNeverRun) {
    for (const char* l_IP :
         {"192.168.0.23 ;reboot", "192.168.0.23;reboot", "192.168.0.23\n", "$(reboot)", "192.168.0.23 `reboot`"}) {
        StoreIP(1, l_IP);
        ExpectNothingRuns(0);
        EXPECT_THAT(StartupLines(), ElementsAre(Ipmi(OffSubnet(0, l_IP))));
    }
}

// ---- tools that fail

TEST_F(DspStartup, FailedInitialisationLeavesTheStatusAtInitialising) {
    m_Board.m_ToolResults = {Exited(1)};
    EXPECT_EQ(Start(), 0x30011);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT));
    EXPECT_THAT(BoardDriver().m_Calls, IsEmpty());
    EXPECT_THAT(Statuses(), ElementsAre(3));
    EXPECT_THAT(StartupLines(),
                ElementsAre(Ipmi("TRACE- Calling mavk_init"), Ipmi(std::string("MAVK_INIT: ") + INIT),
                            Ipmi("TRACE - done Calling mavk_init with rc1=1"), Ipmi("Fail to initialize DSP")));
}

TEST_F(DspStartup, UntaughtSwitchIsAFailedStatus) {
    for (const char* l_Call : {"LearnByDSP 1 02:00:00:00:00:13", "Learn 7 02:00:00:00:00:10", "LearnByDSP"}) {
        BoardDriver().m_Errors = {{l_Call, 5}};
        EXPECT_EQ(Start(), 0x30012);
        EXPECT_EQ(StartupLines().back(), Ipmi("Fail to teach switch ErrorID = 0"));
    }
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, INIT, INIT));
    EXPECT_THAT(Statuses(), ElementsAre(3, 5, 3, 5, 3, 5));
}

TEST_F(DspStartup, FailedDownloadIsAFailedStatus) {
    m_Board.m_ToolResults = {0, Exited(9)};
    EXPECT_EQ(Start(), 0x30012);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, Boot()));
    EXPECT_THAT(Statuses(), ElementsAre(3, 5));
    const auto l_Lines = StartupLines();
    EXPECT_EQ(l_Lines.at(l_Lines.size() - 2), Media("MAVK_BOOT: " + Boot()));
    EXPECT_EQ(l_Lines.back(), Ipmi("Fail to download DSP ErrorID = 9"));
}

TEST_F(DspStartup, FailedTestIsAFailedStatus) {
    m_Board.m_ToolResults = {0, 0, Exited(7)};
    EXPECT_EQ(Start(), 0x30012);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, Boot(), Diag()));
    EXPECT_THAT(Statuses(), ElementsAre(3, 5));
    const auto l_Lines = StartupLines();
    EXPECT_EQ(l_Lines.at(l_Lines.size() - 2), Ipmi("MAVK_DIAG: " + Diag()));
    EXPECT_EQ(l_Lines.back(), Ipmi("DSPs Post Test Fail, ErrorID = 7"));
}

TEST_F(DspStartup, ShellThatCouldNotBeRunIsAToolThatFailedWith255) {
    const struct {
        std::deque<int> m_Results;
        int m_Result;
        const char* m_Text;
    } l_Cases[] = {
        {{-1}, 0x30011, "TRACE - done Calling mavk_init with rc1=255"},
        {{0, -1}, 0x30012, "Fail to download DSP ErrorID = 255"},
        {{0, 0, -1}, 0x30012, "DSPs Post Test Fail, ErrorID = 255"},
        {{0, 0, 0, -1}, 0x30004, "Fail to start MEDIA SERVER "},
    };
    for (const auto& l_Case : l_Cases) {
        m_Board.m_ToolResults = l_Case.m_Results;
        EXPECT_EQ(Start(), l_Case.m_Result) << l_Case.m_Text;
        EXPECT_THAT(m_Log.Texts(), Contains(l_Case.m_Text));
    }
}

TEST_F(DspStartup, ToolThatASignalEndedPasses) {
    m_Board.m_ToolResults = {Killed(9), Killed(11), Killed(15), 0};
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_Board.Commands(), SizeIs(4));
    EXPECT_THAT(Statuses(), ElementsAre(3, 4));
}

TEST_F(DspStartup, ToolThatASignalEndedUnderAForkingShellFails) {
    m_Board.m_ToolResults = {0, 0, Exited(128 + 9)};
    EXPECT_EQ(Start(), 0x30012);
    EXPECT_EQ(StartupLines().back(), Ipmi("DSPs Post Test Fail, ErrorID = 137"));
}

// ---- the kernel parameter

TEST_F(DspStartup, KernelParameterIs1ForThreeDspsOnly) {
    for (const int l_Count : {0, 1, 2, 3, 4, 32}) {
        EXPECT_EQ(STARTUP::SetDepop(m_Board, l_Count), 1);
        EXPECT_EQ(m_Board.Remap(), l_Count == 3 ? 1 : 0) << l_Count;
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DspStartup, KernelWithoutTheParameterIsReportedAndPassedOver) {
    m_Board.m_bNoParameter = true;
    EXPECT_EQ(STARTUP::SetDepop(m_Board, 4), 1);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Fail to set REMAP value with 4 DSPs")));
}

} // namespace
