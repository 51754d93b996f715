// The tools' orders: set, used by runs, counted, written by hand.
#include "sim/tools/ToolOrders.h"

#include "ToolTest.h"

#include <csignal>
#include <utility>

using namespace bladesim;
using testing::Eq;
using testing::StartsWith;

using ToolOrdersTest = ToolTest;

TEST_F(ToolOrdersTest, AreNoneAtFirst) {
    EXPECT_TRUE(ReadToolOrders(m_folder).empty());
    EXPECT_THAT(TakeToolOrder(m_folder, "mavk_diag"), Eq(ToolOrder{}));
}

TEST_F(ToolOrdersTest, HoldForAllRunsOfTheirTool) {
    SetToolOrder(m_folder, "mavk_diag", {16, 0, 20, 0});
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(TakeToolOrder(m_folder, "mavk_diag"), Eq(ToolOrder{16, 0, 20, 0}));
    EXPECT_THAT(TakeToolOrder(m_folder, "mavk_init"), Eq(ToolOrder{}));
}

TEST_F(ToolOrdersTest, EndAfterAsManyRunsAsTheyAreFor) {
    SetToolOrder(m_folder, "fwburn", {0, SIGKILL, 0, 2});
    EXPECT_EQ(TakeToolOrder(m_folder, "fwburn").m_signal, SIGKILL);
    EXPECT_EQ(TakeToolOrder(m_folder, "fwburn").m_signal, SIGKILL);
    EXPECT_THAT(TakeToolOrder(m_folder, "fwburn"), Eq(ToolOrder{}));
    EXPECT_TRUE(ReadToolOrders(m_folder).empty());
}

TEST_F(ToolOrdersTest, AreReplacedByTheNextOneForTheSameTool) {
    SetToolOrder(m_folder, "mavk_init", {1, 0, 0, 0});
    SetToolOrder(m_folder, "mavk_boot", {2, 0, 0, 0});
    SetToolOrder(m_folder, "mavk_init", {0, SIGTERM, 5, 1});
    const ToolOrders expected = {{"mavk_init", {0, SIGTERM, 5, 1}}, {"mavk_boot", {2, 0, 0, 0}}};
    EXPECT_EQ(ReadToolOrders(m_folder), expected);
}

TEST_F(ToolOrdersTest, AreTakenBackByOneThatChangesNothing) {
    SetToolOrder(m_folder, "mavk_init", {1, 0, 0, 0});
    SetToolOrder(m_folder, "mavk_init", {0, 0, 0, 3});
    EXPECT_TRUE(ReadToolOrders(m_folder).empty());
}

TEST_F(ToolOrdersTest, AreForgottenAtOnce) {
    SetToolOrder(m_folder, "mavk_init", {1, 0, 0, 0});
    ClearToolOrders(m_folder);
    ClearToolOrders(m_folder);
    EXPECT_TRUE(ReadToolOrders(m_folder).empty());
}

TEST_F(ToolOrdersTest, CanBeWrittenByHand) {
    Write("tools.json", R"({"mediaStart": {"exit": "0x05", "times": 2}})");
    EXPECT_THAT(TakeToolOrder(m_folder, "mediaStart"), Eq(ToolOrder{5, 0, 0, 2}));
    EXPECT_EQ(Read("tools.json"), "{\"mediaStart\":{\"exit\":5,\"times\":1}}\n");
}

TEST_F(ToolOrdersTest, ThatAreWrongAreNamedWithTheirLineAndLeftAlone) {
    const std::pair<const char*, const char*> cases[] = {
        {"{", "tools.json:1: "},
        {"{\n\"mavk_dig\": {}}", "tools.json:2: mavk_dig: there is no such tool"},
        {R"({"mavk_diag": 16})", "tools.json:1: mavk_diag: "},
        {R"({"mavk_diag": {"exit": 256}})", "tools.json:1: mavk_diag.exit: expected a number from 0 to 255, found 256"},
        {R"({"mavk_diag": {"signal": 65}})", "tools.json:1: mavk_diag.signal: expected a number from 0 to 64"},
        {R"({"mavk_diag": {"signal": 19}})", "tools.json:1: mavk_diag.signal: this signal does not end a process"},
        {R"({"mavk_diag": {"exit": 1, "signal": 9}})", "tools.json:1: mavk_diag.signal: a tool ends by a signal or"},
        {R"({"mavk_diag": {"delay_ms": -1}})", "tools.json:1: mavk_diag.delay_ms: expected a number from 0 to 600000"},
        {R"({"mavk_diag": {"delay": 1}})", "tools.json:1: mavk_diag.delay: nothing is known by this name"},
    };
    for (const auto& [text, error] : cases) {
        Write("tools.json", text);
        EXPECT_THAT(ErrorOf([&] { TakeToolOrder(m_folder, "mavk_diag"); }), StartsWith(error));
        EXPECT_THAT(ErrorOf([&] { SetToolOrder(m_folder, "fwburn", {1, 0, 0, 0}); }), StartsWith(error));
        EXPECT_EQ(Read("tools.json"), text);
    }
}

TEST(ToolSignal, EndsAProcessOrIsRefused) {
    for (const int signal : {SIGHUP, SIGINT, SIGKILL, SIGSEGV, SIGTERM, SIGUSR1, SIGRTMIN, SIGRTMAX})
        EXPECT_TRUE(SignalEnds(signal)) << signal;
    for (const int signal : {-1, 0, 32, 33, 65, SIGCHLD, SIGCONT, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH})
        EXPECT_FALSE(SignalEnds(signal)) << signal;
}
