// Blade files: network interfaces and the PCI driver, and what is said about bad ones.
#include "BladeFileTest.h"

#include <arpa/inet.h>

#include <cerrno>
#include <vector>

using namespace BLADESIM;
using testing::ElementsAre;

namespace {

nlohmann::json Eth6() {
    return {{"name", "eth6"}, {"mac", "02:4d:71:00:00:06"}, {"address", "192.168.0.6"}, {"mask", "255.255.255.0"}};
}

nlohmann::json With(nlohmann::json a_Object, const char* a_Key, const nlohmann::json& a_Value) {
    a_Object[a_Key] = a_Value;
    return a_Object;
}

nlohmann::json Without(nlohmann::json a_Object, const char* a_Key) {
    a_Object.erase(a_Key);
    return a_Object;
}

class BladeFileBoard : public BLADE_FILE_TEST {
protected:
    BOARD ReadInterfaces(const std::vector<nlohmann::json>& a_Interfaces) {
        return ReadWith("/ethernet", {{"interfaces", a_Interfaces}}).m_Board;
    }
    DRIVER_FILE_FAULT ReadDriverFault(const nlohmann::json& a_Fault) {
        return ReadWith("/pstn_driver", {{"faults", nlohmann::json::array({a_Fault})}})
            .m_Board.m_DriverFile->m_Faults.at(0);
    }
};

struct BAD_OBJECT {
    nlohmann::json m_Object;
    const char* m_Key;
    const char* m_Reason;
};

class BladeFileInterface : public BLADE_FILE_TEST, public testing::WithParamInterface<BAD_OBJECT> {};
class BladeFileDriverFault : public BLADE_FILE_TEST, public testing::WithParamInterface<BAD_OBJECT> {};

auto SaysKeyAndReason(const std::string& a_Prefix, const BAD_OBJECT& a_Bad) {
    return testing::AllOf(testing::HasSubstr(a_Prefix + "." + a_Bad.m_Key + ": "), testing::HasSubstr(a_Bad.m_Reason));
}

} // namespace

TEST_F(BladeFileBoard, HasNeitherInterfacesNorDriverWhenNothingIsSaid) {
    const BOARD l_Board = ReadSample().m_Board;
    EXPECT_TRUE(l_Board.m_Interfaces.empty());
    EXPECT_FALSE(l_Board.m_DriverFile);
}

TEST_F(BladeFileBoard, HasAnInterfaceWithItsAddresses) {
    const auto l_Interfaces = ReadInterfaces({Eth6()}).m_Interfaces;
    ASSERT_EQ(l_Interfaces.size(), 1U);
    EXPECT_EQ(l_Interfaces[0].m_Name, "eth6");
    EXPECT_THAT(l_Interfaces[0].m_Mac, ElementsAre(0x02, 0x4D, 0x71, 0x00, 0x00, 0x06));
    ASSERT_TRUE(l_Interfaces[0].m_Address);
    EXPECT_EQ(l_Interfaces[0].m_Address->m_Address.s_addr, htonl(0xC0A80006));
    EXPECT_EQ(l_Interfaces[0].m_Address->m_Mask.s_addr, htonl(0xFFFFFF00));
}

TEST_F(BladeFileBoard, HasAnInterfaceWithoutAddress) {
    const auto l_Interfaces = ReadInterfaces({Without(Without(Eth6(), "address"), "mask")}).m_Interfaces;
    ASSERT_EQ(l_Interfaces.size(), 1U);
    EXPECT_FALSE(l_Interfaces[0].m_Address);
}

TEST_F(BladeFileBoard, KeepsTheOrderOfItsInterfaces) {
    const auto l_Interfaces =
        ReadInterfaces({With(Eth6(), "name", "eth7"), Eth6(), With(Eth6(), "name", "a.b-c_d")}).m_Interfaces;
    ASSERT_EQ(l_Interfaces.size(), 3U);
    EXPECT_EQ(l_Interfaces[0].m_Name, "eth7");
    EXPECT_EQ(l_Interfaces[1].m_Name, "eth6");
    EXPECT_EQ(l_Interfaces[2].m_Name, "a.b-c_d");
}

TEST_F(BladeFileBoard, RefusesTwoInterfacesOfOneName) {
    EXPECT_THAT(ErrorWith("/ethernet", {{"interfaces", {Eth6(), Eth6()}}}),
                testing::HasSubstr("ethernet.interfaces[1].name: stands here twice"));
}

TEST_P(BladeFileInterface, IsRefusedWithItsKeyAndWhatWasExpected) {
    EXPECT_THAT(ErrorWith("/ethernet", {{"interfaces", {GetParam().m_Object}}}),
                SaysKeyAndReason("ethernet.interfaces[0]", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileInterface,
    testing::Values(BAD_OBJECT{Without(Eth6(), "name"), "name", "is missing"},
                    BAD_OBJECT{With(Eth6(), "name", ""), "name", "expected 1 to 15"},
                    BAD_OBJECT{With(Eth6(), "name", "an-interface-six"), "name", "expected 1 to 15"},
                    BAD_OBJECT{With(Eth6(), "name", "eth/6"), "name", "expected 1 to 15"},
                    BAD_OBJECT{With(Eth6(), "name", "lo"), "name", "other than lo"},
                    BAD_OBJECT{With(Eth6(), "name", ".."), "name", "expected 1 to 15"},
                    BAD_OBJECT{Without(Eth6(), "mac"), "mac", "is missing"},
                    BAD_OBJECT{With(Eth6(), "mac", "02-4d-71-00-00-06"), "mac", "expected six bytes"},
                    BAD_OBJECT{With(Eth6(), "mac", "01:4d:71:00:00:06"), "mac", "is not the address of an interface"},
                    BAD_OBJECT{With(Eth6(), "mac", "00:00:00:00:00:00"), "mac", "is not the address of an interface"},
                    BAD_OBJECT{With(Eth6(), "address", "192.168.0"), "address", "expected four numbers"},
                    BAD_OBJECT{With(Eth6(), "address", "192.168.0.256"), "address", "expected four numbers"},
                    BAD_OBJECT{With(Eth6(), "address", "0.0.0.0"), "address", "leave the key out"},
                    BAD_OBJECT{Without(Eth6(), "mask"), "mask", "is missing"},
                    BAD_OBJECT{Without(Eth6(), "address"), "mask", "nothing is known"},
                    BAD_OBJECT{With(Eth6(), "mask", "255.0.255.0"), "mask", "ones followed by zeros"},
                    BAD_OBJECT{With(Eth6(), "mask", "0.0.0.0"), "mask", "ones followed by zeros"},
                    BAD_OBJECT{With(Eth6(), "gateway", "192.168.0.1"), "gateway", "nothing is known"}));

TEST_F(BladeFileBoard, HasEveryMaskFromOneBitToAll) {
    for (const char* l_Mask : {"128.0.0.0", "255.255.255.252", "255.255.255.255"}) {
        const auto l_Interfaces = ReadInterfaces({With(Eth6(), "mask", l_Mask)}).m_Interfaces;
        EXPECT_EQ(l_Interfaces.at(0).m_Address->m_Mask.s_addr, ::inet_addr(l_Mask));
    }
}

TEST_F(BladeFileBoard, HasADriverUnlessItIsSaidToBeAbsent) {
    EXPECT_TRUE(ReadWith("/pstn_driver", nlohmann::json::object()).m_Board.m_DriverFile);
    EXPECT_TRUE(ReadWith("/pstn_driver", {{"present", true}}).m_Board.m_DriverFile);
    EXPECT_FALSE(ReadWith("/pstn_driver", {{"present", false}}).m_Board.m_DriverFile);
}

TEST_F(BladeFileBoard, SaysWhichOpensOfTheDriverFailAndHow) {
    const DRIVER_FILE_FAULT l_Fault =
        ReadDriverFault({{"call", "open"}, {"first", 2}, {"count", 3}, {"error", "EACCES"}});
    EXPECT_EQ(l_Fault.m_Call, DRIVER_FILE_CALL::OPEN);
    EXPECT_EQ(l_Fault.m_First, 2U);
    EXPECT_EQ(l_Fault.m_Count, 3U);
    EXPECT_EQ(l_Fault.m_Error, EACCES);
    EXPECT_FALSE(l_Fault.m_Bytes);
}

TEST_F(BladeFileBoard, SaysThatAllWritesOfTheDriverFailWhenItSaysNoMore) {
    const DRIVER_FILE_FAULT l_Fault = ReadDriverFault({{"call", "write"}, {"error", "EIO"}});
    EXPECT_EQ(l_Fault.m_Call, DRIVER_FILE_CALL::WRITE);
    EXPECT_EQ(l_Fault.m_First, 1U);
    EXPECT_EQ(l_Fault.m_Count, 0U);
    EXPECT_EQ(l_Fault.m_Error, EIO);
}

TEST_F(BladeFileBoard, SaysHowManyBytesOfAWriteTheDriverTakes) {
    EXPECT_EQ(ReadDriverFault({{"call", "write"}, {"bytes", 0}}).m_Bytes, 0U);
    EXPECT_EQ(ReadDriverFault({{"call", "write"}, {"bytes", 4096}}).m_Bytes, 4096U);
}

TEST_P(BladeFileDriverFault, IsRefusedWithItsKeyAndWhatWasExpected) {
    EXPECT_THAT(ErrorWith("/pstn_driver", {{"faults", {GetParam().m_Object}}}),
                SaysKeyAndReason("pstn_driver.faults[0]", GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileDriverFault,
    testing::Values(BAD_OBJECT{{{"error", "EIO"}}, "call", "is missing"},
                    BAD_OBJECT{{{"call", "close"}, {"error", "EIO"}}, "call", "expected open or write"},
                    BAD_OBJECT{{{"call", "open"}}, "error", "is missing"},
                    BAD_OBJECT{{{"call", "open"}, {"error", "broken"}}, "error", "the name of an error number"},
                    BAD_OBJECT{{{"call", "open"}, {"error", "0"}}, "error", "the name of an error number"},
                    BAD_OBJECT{{{"call", "open"}, {"error", "EIO"}, {"first", 0}}, "first", "expected a number"},
                    BAD_OBJECT{{{"call", "open"}, {"error", "EIO"}, {"count", -1}}, "count", "expected a number"},
                    BAD_OBJECT{{{"call", "open"}, {"error", "EIO"}, {"bytes", 4}}, "bytes", "a call that fails"},
                    BAD_OBJECT{{{"call", "write"}, {"error", "EIO"}, {"bytes", 4}}, "error", "a write that is cut"},
                    BAD_OBJECT{{{"call", "write"}, {"bytes", 4097}}, "bytes", "expected a number from 0 to 4096"}));
