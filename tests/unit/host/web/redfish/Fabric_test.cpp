// The blade's Ethernet switch.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(RedfishPort, SaysWhatItIsAndWhereItLeads) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1",
        "@odata.type": "#Port.v1_18_0.Port", "Id": "1", "Name": "Switch Port Fabric 1", "PortId": "1",
        "PortProtocol": "Ethernet", "InterfaceEnabled": true, "LinkStatus": "LinkUp",
        "Oem": {"Bmhost": {"@odata.type": "#Bmhost.v1_0_0.Port", "LeadsTo": "fabric"}}})"),
              blade.At("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1"));
    const auto down = blade.At("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2");
    EXPECT_EQ(false, down["InterfaceEnabled"]);
    EXPECT_EQ("LinkDown", down["LinkStatus"]);
}

TEST(RedfishPort, LeavesOutALinkThatIsNotKnown) {
    const auto port = ShownBlade(SmallBlade()).At("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/3");
    EXPECT_EQ(true, port["InterfaceEnabled"]);
    EXPECT_FALSE(port.contains("LinkStatus"));
}

TEST(RedfishPort, IsNoneWhereTheAdaptorLooksOnly) {
    const ShownBlade blade(LookedAtBlade());
    EXPECT_EQ(nlohmann::ordered_json::array(),
              blade.At("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports")["Members"]);
    EXPECT_EQ(nullptr, blade.At("/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1"));
}

TEST(RedfishSwitch, IsOneOfTheBlade) {
    const auto fields = ShownBlade(SmallBlade()).At("/redfish/v1/Fabrics/Ethernet/Switches/Switch");
    EXPECT_EQ("Ethernet", fields["SwitchType"]);
    EXPECT_EQ(Json(R"(["Ethernet"])"), fields["SupportedProtocols"]);
    EXPECT_EQ("/redfish/v1/Chassis/Blade", fields["Links"]["Chassis"]["@odata.id"]);
}

} // namespace
