// The thread of one upgrade: the firmware tool's command line, what its end means, and what is logged.
#include "adaptor/IPMI_FirmwareUpdate.h"

#include "adaptor/upgrade/UpgradeTest.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string Returned(const std::string& a_Numbers) {
    return "UPGRADETHEAD :: run - update returned " + a_Numbers;
}

const LOG_LINE g_Starting = Trace("UPGRADE THREAD STARTING\n");
const LOG_LINE g_Passed = Trace(Returned("0 WEXITSTATUS=0 WIFEXITED=1"));
const LOG_LINE g_Sending = Trace("UPGRADETHEAD :: run - sending event");

class UpgradeThread : public UPGRADE_TEST {
protected:
    /// One upgrade on the test's thread; its command line.
    std::string Run(int a_Target, int a_Bay, const std::string& a_File) {
        m_Board.ForgetCommands();
        UPGRADETHREAD(&m_Adaptor, &m_Log, static_cast<UPGRADETARGET>(a_Target), a_Bay, a_File.c_str()).run();
        EXPECT_EQ(m_Board.Commands().size(), 1U);
        return m_Board.Commands()[0];
    }
};

// ---- its command line

TEST_F(UpgradeThread, Target1NamesTheModule) {
    EXPECT_EQ(Run(1, 9, "rtm.img"), "fwburn -i KCS -M direct --target rtm rtm.img");
    EXPECT_EQ(Run(1, 3, "amc.img"), "fwburn -i KCS -M direct --target amc3 amc.img");
    EXPECT_EQ(Run(1, 0, "amc.img"), "fwburn -i KCS -M direct --target amc0 amc.img");
    EXPECT_EQ(Run(1, 10, "amc.img"), "fwburn -i KCS -M direct --target amc10 amc.img");
    EXPECT_EQ(Run(1, -1, "amc.img"), "fwburn -i KCS -M direct --target amc-1 amc.img");
}

TEST_F(UpgradeThread, EveryOtherTargetIsTheBaseboard) {
    for (const int l_Target : {0, 2, 3, -1, 161})
        EXPECT_EQ(Run(l_Target, 9, "board.img"), "fwburn -i KCS -M direct board.img") << l_Target;
}

TEST_F(UpgradeThread, PathOfPlainCharactersStaysAsItIs) {
    for (const std::string l_Path : {"/images/fw-1.2_b3.img", "-f", "a:b=c,d+e@f%g", "%s%n", "0"})
        EXPECT_EQ(Run(0, 0, l_Path), "fwburn -i KCS -M direct " + l_Path);
}

TEST_F(UpgradeThread, AnyOtherPathIsQuoted) {
    EXPECT_EQ(Run(0, 0, "new firmware.img"), "fwburn -i KCS -M direct 'new firmware.img'");
    EXPECT_EQ(Run(0, 0, "it's.img"), "fwburn -i KCS -M direct 'it'\\''s.img'");
    EXPECT_EQ(Run(1, 9, "a;b"), "fwburn -i KCS -M direct --target rtm 'a;b'");
    EXPECT_EQ(Run(1, 3, "~"), "fwburn -i KCS -M direct --target amc3 '~'");
}

/// A firmware tool that keeps its arguments, run by the shell of the machine at hand.
class FirmwareTool : public UPGRADE_TEST {
protected:
    FirmwareTool() {
        std::string l_Name = testing::TempDir() + "upgradeXXXXXX";
        m_Folder = mkdtemp(l_Name.data());
        setenv("PATH", (m_Folder.string() + ":" + m_Path).c_str(), 1);
        m_Board.m_OnTool = [this](const std::string& a_Command) {
            m_Board.m_ToolResults = {TheBoard().RunTool(a_Command)};
        };
    }

    ~FirmwareTool() override {
        setenv("PATH", m_Path.c_str(), 1);
        std::filesystem::remove_all(m_Folder);
    }

    void PutTool(const std::string& a_Commands) {
        const auto l_Tool = m_Folder / "fwburn";
        std::ofstream(l_Tool) << "#!/bin/sh\nprintf '%s\\n' \"$@\" >" << m_Folder / "arguments"
                              << "\n"
                              << a_Commands << "\n";
        std::filesystem::permissions(l_Tool, std::filesystem::perms::owner_all);
    }

    std::string Arguments() const {
        std::ifstream l_File(m_Folder / "arguments");
        return {std::istreambuf_iterator<char>(l_File), {}};
    }

    std::string m_Path = getenv("PATH");
    std::filesystem::path m_Folder;
};

TEST_F(FirmwareTool, GetsEveryPathAsOneArgumentAndNoOtherCommandRuns) {
    PutTool("exit 0");
    const std::string l_Canary = m_Folder / "canary";
    for (const std::string& l_Path :
         {"x; touch " + l_Canary, "$(touch " + l_Canary + ")", "`touch " + l_Canary + "`", "x\ntouch " + l_Canary,
          "x && touch " + l_Canary, "x | touch " + l_Canary, "x > " + l_Canary, "'; touch " + l_Canary + "; '",
          "\\'; touch " + l_Canary + " #", "\"; touch " + l_Canary + "; \"", std::string("* ? [a-z] ~ ! # $HOME \\ \t"),
          std::string("\xE4\xFF"), std::string("/images/plain.img"), std::string("'")}) {
        Upgrade({.m_Target = 1, .m_Bay = 9, .m_File = l_Path});
        EXPECT_EQ(Arguments(), "-i\nKCS\n-M\ndirect\n--target\nrtm\n" + l_Path + "\n");
        EXPECT_EQ(Row(), UpgradeRow(1, 9, 2));
        EXPECT_FALSE(std::filesystem::exists(l_Canary)) << l_Path;
    }
}

TEST_F(FirmwareTool, EndsAsTheSystemSays) {
    PutTool("exit 3");
    Upgrade();
    EXPECT_EQ(m_Log.Texts("UPGRADETHEAD :: run - update"),
              TEXTS{"UPGRADETHEAD :: run - update returned 3 WEXITSTATUS=768 WIFEXITED=1"});
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 3));
}

TEST_F(FirmwareTool, ThatIsMissingHasFailed) {
    setenv("PATH", m_Folder.c_str(), 1);
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 3));
}

TEST_F(FirmwareTool, OfAThreadWithoutAnAdaptorIsRunByTheProcessesOwnBoard) {
    PutTool("exit 0");
    UPGRADETHREAD(nullptr, &m_Log, UPGRADETARGET_BASEBOARD, 0, "x").run();
    EXPECT_EQ(Arguments(), "-i\nKCS\n-M\ndirect\nx\n");
    EXPECT_THAT(m_Board.Commands(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(g_Starting, g_Passed, g_Sending));
}

// ---- its outcome

struct OUTCOME {
    int m_Result;
    int m_State;
    const char* m_Numbers;
};

TEST_F(UpgradeThread, OnlyAToolThatExitsWith0HasPassed) {
    const OUTCOME l_Outcomes[] = {{Exited(0), 2, "0 WEXITSTATUS=0 WIFEXITED=1"},
                                  {Exited(1), 3, "1 WEXITSTATUS=256 WIFEXITED=1"},
                                  {Exited(127), 3, "127 WEXITSTATUS=32512 WIFEXITED=1"},
                                  {Exited(255), 3, "255 WEXITSTATUS=65280 WIFEXITED=1"},
                                  {Killed(SIGKILL), 3, "0 WEXITSTATUS=9 WIFEXITED=0"},
                                  {Killed(SIGSEGV | 0x80), 3, "0 WEXITSTATUS=139 WIFEXITED=0"}, // with a core
                                  {-1, 3, "255 WEXITSTATUS=-1 WIFEXITED=0"}};
    for (const auto& [l_Result, l_State, l_Numbers] : l_Outcomes) {
        m_Board.m_ToolResults = {l_Result};
        Upgrade();
        EXPECT_EQ(Row(), UpgradeRow(1, 3, l_State)) << l_Result;
        EXPECT_THAT(Lines(), testing::Contains(l_State == 2 ? Trace(Returned(l_Numbers)) : Error(Returned(l_Numbers))));
    }
}

// ---- what it logs

TEST_F(UpgradeThread, LogsItsSteps) {
    Run(1, 3, "x");
    EXPECT_THAT(Lines(), ElementsAre(g_Starting, Trace("UPGRADETHREAD :: run - upgrading AMC 3"), g_Passed, g_Sending));
    Run(1, 9, "x");
    EXPECT_THAT(Lines(), ElementsAre(g_Starting, Trace("UPGRADETHREAD :: run - upgrading RTM"), g_Passed, g_Sending));
    Run(0, 9, "x");
    EXPECT_THAT(Lines(), ElementsAre(g_Starting, g_Passed, g_Sending));
}

TEST_F(UpgradeThread, OnlyAToolThatFailedIsLoggedWhateverTheLogLevel) {
    BM_LOG_LEVEL = 0;
    Upgrade();
    EXPECT_THAT(Lines(), IsEmpty());
    m_Board.m_ToolResults = {Exited(4)};
    Upgrade();
    EXPECT_THAT(Lines(), ElementsAre(Error(Returned("4 WEXITSTATUS=1024 WIFEXITED=1"))));
}

/// Reads the upgrade's state at each of its lines.
class READING_LOG final : public RECORDING_LOG {
public:
    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        m_Read.push_back(a_Text + std::string(": ") + m_Row().back());
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
    }

    std::function<TEXTS()> m_Row{};
    TEXTS m_Read{};
};

TEST_F(UpgradeThread, OutcomeCanBeReadWhenTheEventIsAnnounced) {
    READING_LOG l_Log;
    l_Log.m_Row = [this] { return Row(); };
    IPMI_TEST_ACCESS::Logger(m_Adaptor) = &l_Log;
    m_Board.m_ToolResults = {Exited(4)};
    Upgrade();
    EXPECT_THAT(l_Log.m_Read,
                ElementsAre("UPGRADE THREAD STARTING\n: 0x602 u:0", "UPGRADETHREAD :: run - upgrading AMC 3: 0x602 u:0",
                            Returned("4 WEXITSTATUS=1024 WIFEXITED=1: 0x602 u:0"),
                            "UPGRADETHEAD :: run - sending event: 0x602 u:3"));
    IPMI_TEST_ACCESS::Logger(m_Adaptor) = &m_Log;
}

TEST_F(UpgradeThread, WithoutALoggerItRuns) {
    IPMI_TEST_ACCESS::Logger(m_Adaptor) = nullptr;
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(UpgradeThread, KeepsItsOwnCopyOfThePath) {
    std::string l_Path = "/images/amc.img";
    UPGRADETHREAD l_Thread(&m_Adaptor, &m_Log, UPGRADETARGET_BASEBOARD, 0, l_Path.c_str());
    l_Path.assign(l_Path.size(), 'x');
    l_Thread.run();
    EXPECT_THAT(m_Board.Commands(), ElementsAre("fwburn -i KCS -M direct /images/amc.img"));
}

} // namespace
