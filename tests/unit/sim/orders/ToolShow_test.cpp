// The tables that bladesim shows of tools and media software.
#include "sim/orders/ToolShow.h"

#include <gtest/gtest.h>

using namespace bladesim;
using nlohmann::ordered_json;

TEST(ToolShow, TellsHowRunsEnded) {
    EXPECT_EQ(FormatToolRuns(ordered_json::parse(R"([
        {"number": 1, "argv": ["mavk_init", "-v"], "start_ms": 0.0, "end_ms": 12.34, "exit": 0, "signal": null},
        {"number": 2, "argv": ["mavk_diag"], "start_ms": 20.0, "end_ms": 21.0, "exit": null, "signal": 9},
        {"number": 3, "argv": ["mediaStart"], "start_ms": 30.05, "end_ms": null, "exit": null, "signal": null}])")),
              "NUMBER  START MS  END MS  ENDED BY   COMMAND LINE\n"
              "1       0.0       12.3    status 0   mavk_init -v\n"
              "2       20.0      21.0    signal 9   mavk_diag\n"
              "3       30.1              not ended  mediaStart\n");
}

TEST(ToolShow, QuotesArgumentsThatAreNoPlainWords) {
    const ordered_json run = {{"number", 1},     {"argv", {"", "a b", "\x1B[31m", "\u00C3", "/0/a:b/1.2"}},
                              {"start_ms", 0.0}, {"end_ms", 1.0},
                              {"exit", 0},       {"signal", nullptr}};
    const std::string text = FormatToolRuns(ordered_json::array({run}));
    EXPECT_NE(text.find(R"("" "a b" "\u001b[31m" "\u00c3" /0/a:b/1.2)"), std::string::npos) << text;
}

TEST(ToolShow, LeavesOutWhatIsNotOrdered) {
    EXPECT_EQ(FormatTools(ordered_json::parse(R"([
        {"tool": "mavk_init", "description": "starts", "exit": 0, "signal": 0, "delay_ms": 0, "times": 0},
        {"tool": "fwburn", "description": "loads", "exit": 0, "signal": 11, "delay_ms": 2000, "times": 3}])")),
              "TOOL       EXIT  SIGNAL  DELAY MS  TIMES  WHAT IT DOES\n"
              "mavk_init                                 starts\n"
              "fwburn           11      2000      3      loads\n");
}

TEST(ToolShow, HasALineForEachThingKnownOfTheMediaSoftware) {
    EXPECT_EQ(FormatMedia({{"running", true}, {"process", nullptr}, {"mode", "sound"}, {"board_requests", 12}}),
              "running         true\n"
              "process         null\n"
              "mode            sound\n"
              "board_requests  12\n");
}
