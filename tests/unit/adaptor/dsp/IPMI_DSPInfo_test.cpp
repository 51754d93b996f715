// The DSPs as words of a tool's command line.
#include "adaptor/dsp/IPMI_DSPInfo.h"

#include <gtest/gtest.h>

using namespace BM_ADAPTOR;

namespace {

const DSP_TABLE TWO_DSPS = {{"02:00:00:00:00:12", "192.168.0.23"}, {"02:00:00:00:00:13", ""}};

TEST(DspWords, CountFrom0AndBeginWithABlankEach) {
    EXPECT_EQ(DSPArguments(TWO_DSPS.data(), 2), " /0/02:00:00:00:00:12/192.168.0.23 /1/02:00:00:00:00:13/");
    EXPECT_EQ(DSPArguments(TWO_DSPS.data(), 1), " /0/02:00:00:00:00:12/192.168.0.23");
}

TEST(DspWords, OfNoDspAreNone) {
    EXPECT_EQ(DSPArguments(TWO_DSPS.data(), 0), "");
    EXPECT_EQ(DSPArguments(TWO_DSPS.data(), -1), "");
    EXPECT_EQ(DSPArguments(nullptr, 2), "");
}

} // namespace
