// The names of IPMI commands.
#include "sim/driver/CommandNames.h"

#include <gtest/gtest.h>

using namespace bladesim;

TEST(CommandNames, AreThoseOfTheStandards) {
    EXPECT_STREQ(CommandName(0x06, 0x01), "Get Device ID");
    EXPECT_STREQ(CommandName(0x0A, 0x11), "Read FRU Data");
    EXPECT_STREQ(CommandName(0x2C, 0x07), "Set FRU LED State");
}

TEST(CommandNames, DependOnTheNetworkFunction) {
    EXPECT_STREQ(CommandName(0x00, 0x01), "Get Chassis Status");
    EXPECT_STREQ(CommandName(0x2C, 0x01), "Get Address Info");
}

TEST(CommandNames, AreEmptyForCommandsThatNobodySends) {
    EXPECT_STREQ(CommandName(0x06, 0xFF), "");
    EXPECT_STREQ(CommandName(0x32, 0x01), "");
    EXPECT_STREQ(CommandName(0x07, 0x01), "") << "a response";
}
