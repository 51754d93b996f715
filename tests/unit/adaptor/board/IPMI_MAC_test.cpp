// Ethernet addresses: their text, the counting, and the addresses of DSPs and CPUs that are counted from one base.
#include "adaptor/board/IPMI_MAC.h"

#include "adaptor/BoardTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::Optional;

namespace {

TEST(MacAddress, TextOfBothCasesIsRead) {
    const MAC_ADDRESS l_Expected{{0x00, 0x1a, 0xBC, 0xde, 0xF0, 0x9f}};
    EXPECT_THAT(MAC_ADDRESS::Parse("00:1a:BC:de:F0:9f"), Optional(l_Expected));
    EXPECT_THAT(MAC_ADDRESS::Parse("00:1a:BC:de:F0:9f and more"), Optional(l_Expected));
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

struct COUNTED_MACS {
    const char* m_Base;
    TEXTS m_Macs;
};

void PrintTo(const COUNTED_MACS& a_Case, std::ostream* a_Stream) {
    *a_Stream << a_Case.m_Base;
}

class DspMacs : public testing::TestWithParam<COUNTED_MACS> {};

TEST_P(DspMacs, AreCountedOnFromTheBaseByTwo) {
    TEXTS l_Macs(GetParam().m_Macs.size());
    EXPECT_TRUE(IPMIAdaptor::CalculateDspMacAddr(GetParam().m_Base, static_cast<int>(l_Macs.size()), l_Macs.data()));
    EXPECT_EQ(l_Macs, GetParam().m_Macs);
}

INSTANTIATE_TEST_SUITE_P(
    Bases, DspMacs,
    testing::Values(COUNTED_MACS{"00:11:22:33:44:fe", {"00:11:22:33:45:00", "00:11:22:33:45:01", "00:11:22:33:45:02"}},
                    COUNTED_MACS{"ab:cd:ef:00:00:00", {"AB:CD:EF:00:00:02", "AB:CD:EF:00:00:03"}},
                    COUNTED_MACS{"AB:CD:00:ff:ff:fe", {"AB:CD:01:00:00:00"}},
                    COUNTED_MACS{"02:01:ff:ff:ff:fd", {"02:01:FF:FF:FF:FF", "02:01:00:00:00:00", "02:01:00:00:00:01"}},
                    COUNTED_MACS{"02:01:ff:ff:ff:fe", {"02:01:00:00:00:00"}}, COUNTED_MACS{"02:01:00:00:00:00", {}}));

TEST(DspMacsOfABadBase, AreLeftEmpty) {
    for (const char* l_Base : {"", "00:11:22:33:44:5", "zz:11:22:33:44:55"}) {
        TEXTS l_Macs(2);
        EXPECT_FALSE(IPMIAdaptor::CalculateDspMacAddr(l_Base, 2, l_Macs.data())) << l_Base;
        EXPECT_THAT(l_Macs, ElementsAre("", "")) << l_Base;
    }
}

TEST(DspMacsOfARecord, AreAsManyAsItSays) {
    TEXTS l_Macs(255);
    EXPECT_TRUE(IPMIAdaptor::CalculateDspMacAddr("02:00:00:00:00:00", 255, l_Macs.data()));
    EXPECT_EQ(l_Macs.back(), "02:00:00:00:01:00");
}

TEST(CpuMacs, AreTheTwoBeforeTheSmallest) {
    MAC_ADDRESS l_CPU1;
    MAC_ADDRESS l_CPU2;
    IPMIAdaptor::CalculateCPUMacAddr("02:01:00:00:00:01", l_CPU1, l_CPU2);
    EXPECT_EQ(l_CPU1.Text(), "02:01:FF:FF:FF:FF");
    EXPECT_EQ(l_CPU2.Text(), "02:01:00:00:00:00");
    IPMIAdaptor::CalculateCPUMacAddr("no address at all", l_CPU1, l_CPU2);
    EXPECT_EQ(l_CPU1, MAC_ADDRESS{});
    EXPECT_EQ(l_CPU2, MAC_ADDRESS{});
}

} // namespace
