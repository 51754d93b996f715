// What the tools are told to do: set, taken by runs, counted, written by hand.
#include "sim/tools/ToolOrders.h"

#include "ToolTest.h"

#include <csignal>
#include <utility>

using namespace BLADESIM;
using testing::Eq;
using testing::StartsWith;

using ToolOrders = ToolTest;

TEST_F(ToolOrders, AreNoneAtFirst) {
    EXPECT_TRUE(ReadToolOrders(m_Folder).empty());
    EXPECT_THAT(TakeToolOrder(m_Folder, "mavk_diag"), Eq(TOOL_ORDER{}));
}

TEST_F(ToolOrders, HoldForAllRunsOfTheirTool) {
    SetToolOrder(m_Folder, "mavk_diag", {16, 0, 20, 0});
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(TakeToolOrder(m_Folder, "mavk_diag"), Eq(TOOL_ORDER{16, 0, 20, 0}));
    EXPECT_THAT(TakeToolOrder(m_Folder, "mavk_init"), Eq(TOOL_ORDER{}));
}

TEST_F(ToolOrders, EndAfterAsManyRunsAsTheyAreFor) {
    SetToolOrder(m_Folder, "fwburn", {0, SIGKILL, 0, 2});
    EXPECT_EQ(TakeToolOrder(m_Folder, "fwburn").m_Signal, SIGKILL);
    EXPECT_EQ(TakeToolOrder(m_Folder, "fwburn").m_Signal, SIGKILL);
    EXPECT_THAT(TakeToolOrder(m_Folder, "fwburn"), Eq(TOOL_ORDER{}));
    EXPECT_TRUE(ReadToolOrders(m_Folder).empty());
}

TEST_F(ToolOrders, AreReplacedByTheNextOneForTheSameTool) {
    SetToolOrder(m_Folder, "mavk_init", {1, 0, 0, 0});
    SetToolOrder(m_Folder, "mavk_boot", {2, 0, 0, 0});
    SetToolOrder(m_Folder, "mavk_init", {0, SIGTERM, 5, 1});
    const TOOL_ORDERS l_Expected = {{"mavk_init", {0, SIGTERM, 5, 1}}, {"mavk_boot", {2, 0, 0, 0}}};
    EXPECT_EQ(ReadToolOrders(m_Folder), l_Expected);
}

TEST_F(ToolOrders, AreTakenBackByOneThatChangesNothing) {
    SetToolOrder(m_Folder, "mavk_init", {1, 0, 0, 0});
    SetToolOrder(m_Folder, "mavk_init", {0, 0, 0, 3});
    EXPECT_TRUE(ReadToolOrders(m_Folder).empty());
}

TEST_F(ToolOrders, AreForgottenAtOnce) {
    SetToolOrder(m_Folder, "mavk_init", {1, 0, 0, 0});
    ClearToolOrders(m_Folder);
    ClearToolOrders(m_Folder);
    EXPECT_TRUE(ReadToolOrders(m_Folder).empty());
}

TEST_F(ToolOrders, CanBeWrittenByHand) {
    Write("tools.json", R"({"mediaStart": {"exit": "0x05", "times": 2}})");
    EXPECT_THAT(TakeToolOrder(m_Folder, "mediaStart"), Eq(TOOL_ORDER{5, 0, 0, 2}));
    EXPECT_EQ(Read("tools.json"), "{\"mediaStart\":{\"exit\":5,\"times\":1}}\n");
}

TEST_F(ToolOrders, ThatAreWrongAreNamedWithTheirLineAndLeftAlone) {
    const std::pair<const char*, const char*> l_Cases[] = {
        {"{", "tools.json:1: "},
        {"{\n\"mavk_dig\": {}}", "tools.json:2: mavk_dig: there is no such tool"},
        {R"({"mavk_diag": 16})", "tools.json:1: mavk_diag: "},
        {R"({"mavk_diag": {"exit": 256}})", "tools.json:1: mavk_diag.exit: expected a number from 0 to 255, found 256"},
        {R"({"mavk_diag": {"signal": 65}})", "tools.json:1: mavk_diag.signal: expected a number from 0 to 64"},
        {R"({"mavk_diag": {"signal": 19}})", "tools.json:1: mavk_diag.signal: this one ends no process"},
        {R"({"mavk_diag": {"exit": 1, "signal": 9}})", "tools.json:1: mavk_diag.signal: a tool ends by a signal or"},
        {R"({"mavk_diag": {"delay_ms": -1}})", "tools.json:1: mavk_diag.delay_ms: expected a number from 0 to 600000"},
        {R"({"mavk_diag": {"delay": 1}})", "tools.json:1: mavk_diag.delay: nothing is known by this name"},
    };
    for (const auto& [l_Text, l_Error] : l_Cases) {
        Write("tools.json", l_Text);
        EXPECT_THAT(ErrorOf([&] { TakeToolOrder(m_Folder, "mavk_diag"); }), StartsWith(l_Error));
        EXPECT_THAT(ErrorOf([&] { SetToolOrder(m_Folder, "fwburn", {1, 0, 0, 0}); }), StartsWith(l_Error));
        EXPECT_EQ(Read("tools.json"), l_Text);
    }
}

TEST(ToolSignal, EndsAProcessOrIsRefused) {
    for (const int l_Signal : {SIGHUP, SIGINT, SIGKILL, SIGSEGV, SIGTERM, SIGUSR1, SIGRTMIN, SIGRTMAX})
        EXPECT_TRUE(SignalEnds(l_Signal)) << l_Signal;
    for (const int l_Signal :
         {-1, 0, 32, 33, 65, SIGCHLD, SIGCONT, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH})
        EXPECT_FALSE(SignalEnds(l_Signal)) << l_Signal;
}
