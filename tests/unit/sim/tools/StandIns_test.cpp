// What the stand-ins print.
#include "sim/tools/StandIns.h"

#include "ToolTest.h"

#include <tuple>

using namespace bladesim;

TEST(StandIn, TellsOfEachDSPWhenItIsAskedToBeVerbose) {
    const std::string init = "/usr/korvel/bin/mavk_diag";
    EXPECT_EQ(DoToolsWork("", "mavk_diag", {init, "-r", "-v", "/0/02:4d/1.2.3.4", "/12/02:4d/1.2.3.5"}),
              "mavk_diag: DSP 0: passed\nmavk_diag: DSP 12: passed\nmavk_diag: all tests passed\n");
    EXPECT_EQ(DoToolsWork("", "mavk_diag", {init, "-r", "/0/02:4d/1.2.3.4"}), "mavk_diag: all tests passed\n");
    EXPECT_EQ(DoToolsWork("", "mavk_boot", {"mavk_boot", "-v", "-f", "/usr/korvel/data/mavk.axf", "/3/a/b"}),
              "mavk_boot: DSP 3: image loaded\nmavk_boot: DSPs started\n");
}

TEST(StandIn, SaysThatItIsDone) {
    EXPECT_EQ(DoToolsWork("", "mavk_init", {"mavk_init", "-v", "/0/a/b"}), "mavk_init: DSPs initialised\n");
    EXPECT_EQ(DoToolsWork("", "fwburn", {"fwburn", "-v", "image"}), "fwburn: upgrade done\n");
}

TEST(StandIn, PrintsNothingOfArgumentsThatAreNoDSP) {
    for (const char* argument : {"/", "//", "/x/a/b", "/\x1B[31m/", "0/a", "/1x/a", ""})
        EXPECT_EQ(DoToolsWork("", "mavk_boot", {"mavk_boot", "-v", argument}), "mavk_boot: DSPs started\n");
}

TEST(StandIn, SaysWhatItsStatusMeans) {
    const std::tuple<const char*, int, const char*> cases[] = {
        {"mavk_diag", 1, "mavk_diag: invalid parameters\n"}, {"mavk_diag", 2, "mavk_diag: firmware failed\n"},
        {"mavk_diag", 16, "mavk_diag: AMC failed\n"},        {"mavk_diag", 32, "mavk_diag: RTM failed\n"},
        {"mavk_diag", 7, "mavk_diag: failed, status 7\n"},   {"mavk_init", 16, "mavk_init: failed, status 16\n"},
    };
    for (const auto& [tool, exit, text] : cases)
        EXPECT_EQ(ToolsComplaint(tool, exit), text);
}

using StandInOfMedia = ToolTest;

TEST_F(StandInOfMedia, SaysSoWhenThereIsNothingToStop) {
    EXPECT_EQ(DoToolsWork(m_folder, "mediaStop", {}), "mediaStop: media software does not run\n");
}
