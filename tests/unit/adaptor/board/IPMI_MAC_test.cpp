// Ethernet addresses: their text, and the counting.
#include "adaptor/board/IPMI_MAC.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace BM_ADAPTOR;
using testing::Optional;

namespace {

TEST(MacAddress, TextOfBothCasesIsRead) {
    const MAC_ADDRESS l_Expected{{0x00, 0x1a, 0xBC, 0xde, 0xF0, 0x9f}};
    EXPECT_THAT(MAC_ADDRESS::Parse("00:1a:BC:de:F0:9f"), Optional(l_Expected));
    EXPECT_THAT(MAC_ADDRESS::Parse("00:1a:BC:de:F0:9f and more"), Optional(l_Expected));
    EXPECT_THAT(MAC_ADDRESS::Parse("00:1a:BC:de:F0:9f0"), Optional(l_Expected));
}

TEST(MacAddress, TextThatIsNoAddressIsRefused) {
    for (const char* l_Text : {"", "00", "00:11:22:33:44:5", "00:11:22:33:44:", "0g:11:22:33:44:55",
                               "00:11:22:33:44:5g", "00-11-22-33-44-55", "001122334455xxxxx", "-1:11:22:33:44:55",
                               "+1:11:22:33:44:55", " 1:11:22:33:44:55", "0x:11:22:33:44:55", "00 11:22:33:44:55"})
        EXPECT_EQ(MAC_ADDRESS::Parse(l_Text), std::nullopt) << l_Text;
}

TEST(MacAddress, TextIsInCapitalLettersWithTwoDigitsAByte) {
    EXPECT_EQ((MAC_ADDRESS{{0x00, 0x0a, 0xbc, 0x01, 0xff, 0x10}}.Text()), "00:0A:BC:01:FF:10");
}

TEST(MacAddress, CountingLosesTheCarryOutOfTheLastFourBytes) {
    const MAC_ADDRESS l_Base{{0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF}};
    EXPECT_EQ(l_Base.Plus(1).Text(), "02:01:00:00:00:00");
    EXPECT_EQ(l_Base.Plus(0).Text(), "02:01:FF:FF:FF:FF");
    EXPECT_EQ(l_Base.Plus(0U - 1U).Text(), "02:01:FF:FF:FF:FE");
}

} // namespace
