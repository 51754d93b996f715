// A DSP's address: which ones are refused.
#include "host/orders/DspAddresses.h"
#include "host/orders/Order.h"

#include "host/UsageError.h"
#include "host/orders/ScriptedSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

std::string Complaint(const std::string& address) {
    return ComplaintOfAddress(*Ipv4Of(address), Ipv4Of("192.168.0.1"), {{1, "192.168.0.23"}, {4, "192.168.0.20"}});
}

TEST(DspAddresses, AreThoseOfTheInterfacesNetworkThatNobodyHas) {
    EXPECT_EQ("", Complaint("192.168.0.2"));
    EXPECT_EQ("", Complaint("192.168.0.254"));
    EXPECT_EQ("DSP 4 has this address", Complaint("192.168.0.20"));
    EXPECT_EQ("it is the address of eth6 itself", Complaint("192.168.0.1"));
    EXPECT_EQ("it is the network's own address", Complaint("192.168.0.0"));
    EXPECT_EQ("it is the network's broadcast address", Complaint("192.168.0.255"));
    EXPECT_EQ(
        "it is not in the network of eth6 (192.168.0.1, mask 255.255.255.0), and no start takes a DSP from elsewhere",
        Complaint("192.168.1.2"));
}

TEST(DspAddresses, OfOtherDspsAreKnownWithoutTheInterface) {
    EXPECT_EQ("", ComplaintOfAddress(*Ipv4Of("10.0.0.1"), std::nullopt, {}));
    EXPECT_EQ("DSP 1 has this address", ComplaintOfAddress(*Ipv4Of("10.0.0.1"), std::nullopt, {{1, "10.0.0.1"}}));
}

TEST(DspAddresses, OfAnInterfaceAreTheMachines) {
    EXPECT_EQ(Ipv4Of("127.0.0.1"), AddressOfInterface("lo"));
    EXPECT_EQ(std::nullopt, AddressOfInterface("none6"));
}

TEST(DspSetIpOrder, RefusesAnotherDspsAddressUnlessForced) {
    ScriptedSession blade;
    blade.m_addresses = {{1, "192.168.0.23"}, {2, "192.168.0.22"}};
    EXPECT_EQ("dsp set-ip: ADDRESS '192.168.0.22': DSP 2 has this address; --force stores it nevertheless",
              UsageErrorOf([&] {
                  CarryOut({"dsp-set-ip", {{"dsp", 1}, {"address", "192.168.0.22"}}}, blade, {});
              }));
    EXPECT_EQ(0, blade.m_writes);
    EXPECT_TRUE(
        CarryOut({"dsp-set-ip", {{"dsp", 1}, {"address", "192.168.0.22"}, {"force", true}}}, blade, {}).m_changed);
    EXPECT_EQ("192.168.0.22", blade.m_addresses[1]);
}

TEST(DspSetIpOrder, TakesItsOwnAddressAndSaysThatNothingChanged) {
    ScriptedSession blade;
    blade.m_addresses = {{1, "192.168.0.23"}};
    const OrderOutcome outcome =
        CarryOut({"dsp-set-ip", {{"dsp", 1}, {"address", "192.168.0.23"}, {"force", true}}}, blade, {});
    EXPECT_TRUE(outcome.m_good);
    EXPECT_FALSE(outcome.m_changed);
    EXPECT_THAT(outcome.m_text, HasSubstr("the address holds from the next start\n"));
}

TEST(DspSetIpOrder, RefusesWhatIsNoAddress) {
    for (const char* address : {"", "1.2.3", "1.2.3.256", "fe80::1", "\x1B[31m"})
        EXPECT_THAT(UsageErrorOf([&] {
                        CheckOrder({"dsp-set-ip", {{"dsp", 1}, {"address", address}}});
                    }),
                    HasSubstr("expected four numbers from 0 to 255"));
}

} // namespace
