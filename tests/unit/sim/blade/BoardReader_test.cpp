// Blade files: network interfaces and the PCI driver, and the errors of bad ones.
#include "BladeFileTest.h"

#include <arpa/inet.h>

#include <cerrno>
#include <vector>

using namespace bladesim;
using testing::ElementsAre;

namespace {

nlohmann::json Eth6() {
    return {{"name", "eth6"}, {"mac", "02:4d:71:00:00:06"}, {"address", "192.168.0.6"}, {"mask", "255.255.255.0"}};
}

nlohmann::json With(nlohmann::json object, const char* key, const nlohmann::json& value) {
    object[key] = value;
    return object;
}

nlohmann::json Without(nlohmann::json object, const char* key) {
    object.erase(key);
    return object;
}

class BladeFileBoard : public BladeFileTest {
protected:
    Board ReadInterfaces(const std::vector<nlohmann::json>& interfaces) {
        return ReadWith("/ethernet", {{"interfaces", interfaces}}).m_board;
    }
    DriverFileFault ReadDriverFault(const nlohmann::json& fault) {
        return ReadWith("/pstn_driver", {{"faults", nlohmann::json::array({fault})}})
            .m_board.m_driverFile->m_faults.at(0);
    }
};

struct BadObject {
    nlohmann::json m_object;
    const char* m_key;
    const char* m_reason;
};

class BladeFileInterface : public BladeFileTest, public testing::WithParamInterface<BadObject> {};
class BladeFileDriverFault : public BladeFileTest, public testing::WithParamInterface<BadObject> {};

auto SaysKeyAndReason(const std::string& prefix, const BadObject& bad) {
    return testing::AllOf(testing::HasSubstr(prefix + "." + bad.m_key + ": "), testing::HasSubstr(bad.m_reason));
}

} // namespace

TEST_F(BladeFileBoard, HasNeitherInterfacesNorDriverWhenNothingIsSaid) {
    const Board board = ReadSample().m_board;
    EXPECT_TRUE(board.m_interfaces.empty());
    EXPECT_FALSE(board.m_driverFile);
}

TEST_F(BladeFileBoard, HasAnInterfaceWithItsAddresses) {
    const auto interfaces = ReadInterfaces({Eth6()}).m_interfaces;
    ASSERT_EQ(interfaces.size(), 1U);
    EXPECT_EQ(interfaces[0].m_name, "eth6");
    EXPECT_THAT(interfaces[0].m_mac, ElementsAre(0x02, 0x4D, 0x71, 0x00, 0x00, 0x06));
    ASSERT_TRUE(interfaces[0].m_address);
    EXPECT_EQ(interfaces[0].m_address->m_address.s_addr, htonl(0xC0A80006));
    EXPECT_EQ(interfaces[0].m_address->m_mask.s_addr, htonl(0xFFFFFF00));
}

TEST_F(BladeFileBoard, HasAnInterfaceWithoutAddress) {
    const auto interfaces = ReadInterfaces({Without(Without(Eth6(), "address"), "mask")}).m_interfaces;
    ASSERT_EQ(interfaces.size(), 1U);
    EXPECT_FALSE(interfaces[0].m_address);
}

TEST_F(BladeFileBoard, KeepsTheOrderOfItsInterfaces) {
    const auto interfaces =
        ReadInterfaces({With(Eth6(), "name", "eth7"), Eth6(), With(Eth6(), "name", "a.b-c_d")}).m_interfaces;
    ASSERT_EQ(interfaces.size(), 3U);
    EXPECT_EQ(interfaces[0].m_name, "eth7");
    EXPECT_EQ(interfaces[1].m_name, "eth6");
    EXPECT_EQ(interfaces[2].m_name, "a.b-c_d");
}

TEST_F(BladeFileBoard, RefusesTwoInterfacesOfOneName) {
    EXPECT_THAT(ErrorWith("/ethernet", {{"interfaces", {Eth6(), Eth6()}}}),
                testing::HasSubstr("ethernet.interfaces[1].name: appears here twice"));
}

TEST_P(BladeFileInterface, IsRefusedWithItsKeyAndWhatWasExpected) {
    EXPECT_THAT(ErrorWith("/ethernet", {{"interfaces", {GetParam().m_object}}}),
                SaysKeyAndReason("ethernet.interfaces[0]", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileInterface,
    testing::Values(BadObject{Without(Eth6(), "name"), "name", "is missing"},
                    BadObject{With(Eth6(), "name", ""), "name", "expected 1 to 15"},
                    BadObject{With(Eth6(), "name", "an-interface-six"), "name", "expected 1 to 15"},
                    BadObject{With(Eth6(), "name", "eth/6"), "name", "expected 1 to 15"},
                    BadObject{With(Eth6(), "name", "lo"), "name", "other than lo"},
                    BadObject{With(Eth6(), "name", ".."), "name", "expected 1 to 15"},
                    BadObject{Without(Eth6(), "mac"), "mac", "is missing"},
                    BadObject{With(Eth6(), "mac", "02-4d-71-00-00-06"), "mac", "expected six bytes"},
                    BadObject{With(Eth6(), "mac", "01:4d:71:00:00:06"), "mac", "is not the address of an interface"},
                    BadObject{With(Eth6(), "mac", "00:00:00:00:00:00"), "mac", "is not the address of an interface"},
                    BadObject{With(Eth6(), "address", "192.168.0"), "address", "expected four numbers"},
                    BadObject{With(Eth6(), "address", "192.168.0.256"), "address", "expected four numbers"},
                    BadObject{With(Eth6(), "address", "0.0.0.0"), "address", "leave the key out"},
                    BadObject{Without(Eth6(), "mask"), "mask", "is missing"},
                    BadObject{Without(Eth6(), "address"), "mask", "nothing is known"},
                    BadObject{With(Eth6(), "mask", "255.0.255.0"), "mask", "ones followed by zeros"},
                    BadObject{With(Eth6(), "mask", "0.0.0.0"), "mask", "ones followed by zeros"},
                    BadObject{With(Eth6(), "gateway", "192.168.0.1"), "gateway", "nothing is known"}));

TEST_F(BladeFileBoard, HasEveryMaskFromOneBitToAll) {
    for (const char* mask : {"128.0.0.0", "255.255.255.252", "255.255.255.255"}) {
        const auto interfaces = ReadInterfaces({With(Eth6(), "mask", mask)}).m_interfaces;
        EXPECT_EQ(interfaces.at(0).m_address->m_mask.s_addr, ::inet_addr(mask));
    }
}

TEST_F(BladeFileBoard, HasADriverUnlessItIsSaidToBeAbsent) {
    EXPECT_TRUE(ReadWith("/pstn_driver", nlohmann::json::object()).m_board.m_driverFile);
    EXPECT_TRUE(ReadWith("/pstn_driver", {{"present", true}}).m_board.m_driverFile);
    EXPECT_FALSE(ReadWith("/pstn_driver", {{"present", false}}).m_board.m_driverFile);
}

TEST_F(BladeFileBoard, SaysWhichOpensOfTheDriverFailAndHow) {
    const DriverFileFault fault = ReadDriverFault({{"call", "open"}, {"first", 2}, {"count", 3}, {"error", "EACCES"}});
    EXPECT_EQ(fault.m_call, DriverFileCall::Open);
    EXPECT_EQ(fault.m_first, 2U);
    EXPECT_EQ(fault.m_count, 3U);
    EXPECT_EQ(fault.m_error, EACCES);
    EXPECT_FALSE(fault.m_bytes);
}

TEST_F(BladeFileBoard, SaysThatAllWritesOfTheDriverFailWhenItSaysNoMore) {
    const DriverFileFault fault = ReadDriverFault({{"call", "write"}, {"error", "EIO"}});
    EXPECT_EQ(fault.m_call, DriverFileCall::Write);
    EXPECT_EQ(fault.m_first, 1U);
    EXPECT_EQ(fault.m_count, 0U);
    EXPECT_EQ(fault.m_error, EIO);
}

TEST_F(BladeFileBoard, SaysHowManyBytesOfAWriteTheDriverTakes) {
    EXPECT_EQ(ReadDriverFault({{"call", "write"}, {"bytes", 0}}).m_bytes, 0U);
    EXPECT_EQ(ReadDriverFault({{"call", "write"}, {"bytes", 4096}}).m_bytes, 4096U);
}

TEST_P(BladeFileDriverFault, IsRefusedWithItsKeyAndWhatWasExpected) {
    EXPECT_THAT(ErrorWith("/pstn_driver", {{"faults", {GetParam().m_object}}}),
                SaysKeyAndReason("pstn_driver.faults[0]", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileDriverFault,
    testing::Values(BadObject{{{"error", "EIO"}}, "call", "is missing"},
                    BadObject{{{"call", "close"}, {"error", "EIO"}}, "call", "expected open or write"},
                    BadObject{{{"call", "open"}}, "error", "is missing"},
                    BadObject{{{"call", "open"}, {"error", "broken"}}, "error", "the name of an error number"},
                    BadObject{{{"call", "open"}, {"error", "0"}}, "error", "the name of an error number"},
                    BadObject{{{"call", "open"}, {"error", "EIO"}, {"first", 0}}, "first", "expected a number"},
                    BadObject{{{"call", "open"}, {"error", "EIO"}, {"count", -1}}, "count", "expected a number"},
                    BadObject{{{"call", "open"}, {"error", "EIO"}, {"bytes", 4}}, "bytes", "a call that fails"},
                    BadObject{{{"call", "write"}, {"error", "EIO"}, {"bytes", 4}}, "error", "a write that is cut"},
                    BadObject{{{"call", "write"}, {"bytes", 4097}}, "bytes", "expected a number from 0 to 4096"}));
