// The DSPs as one system's processors and interfaces.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(RedfishSystem, IsWhatItsModulesAre) {
    EXPECT_EQ(Json(R"({"State": "Enabled", "Health": "OK"})"),
              ShownBlade(SmallBlade()).At("/redfish/v1/Systems/Media")["Status"]);
    Picture picture = SmallBlade();
    picture.m_inventory.m_modules = {ModuleOf(3, "", 4), ModuleOf(6, "", 5), ModuleOf(9, "", 1)};
    EXPECT_EQ(Json(R"({"State": "UnavailableOffline", "Health": "Critical"})"),
              ShownBlade(picture).At("/redfish/v1/Systems/Media")["Status"]);
    picture.m_inventory.m_modules = {ModuleOf(3, "", 4), ModuleOf(6, "", 4), ModuleOf(9, "", 5)};
    EXPECT_EQ("Enabled", ShownBlade(picture).At("/redfish/v1/Systems/Media")["Status"]["State"])
        << "the RTM has no DSPs";
    EXPECT_FALSE(ShownBlade(BareBlade()).At("/redfish/v1/Systems/Media").contains("Status"));
}

TEST(RedfishSystem, IsCriticalAfterAFaultOfTheMonitor) {
    Picture picture = SmallBlade();
    picture.m_health.m_state = HealthState::Fault;
    EXPECT_EQ(Json(R"({"State": "Enabled", "Health": "Critical"})"),
              ShownBlade(picture).At("/redfish/v1/Systems/Media")["Status"]);
}

TEST(RedfishSystem, HasWhatClientsFailWithout) {
    const auto media = ShownBlade(SmallBlade()).At("/redfish/v1/Systems/Media");
    EXPECT_EQ(nlohmann::ordered_json::object(), media["Boot"]);
    EXPECT_EQ(nlohmann::ordered_json::object(), media["Actions"]) << "media software is no power state";
}

TEST(RedfishProcessor, IsADsp) {
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/Systems/Media/Processors/AMC6-DSP2",
        "@odata.type": "#Processor.v1_22_0.Processor", "Id": "AMC6-DSP2", "Name": "DSP 2 of AMC bay 6",
        "ProcessorType": "DSP", "Model": "2",
        "Location": {"PartLocation": {"LocationType": "Embedded", "LocationOrdinalValue": 2}},
        "Status": {"State": "Enabled", "Health": "OK"},
        "Links": {"Chassis": {"@odata.id": "/redfish/v1/Chassis/AMC6"}},
        "Oem": {"Bmhost": {"@odata.type": "#Bmhost.v1_0_0.Processor", "DspNumber": 4}}})"),
              ShownBlade(SmallBlade()).At("/redfish/v1/Systems/Media/Processors/AMC6-DSP2"));
}

TEST(RedfishProcessor, HasNoNumberWhereTheAdaptorLooksOnly) {
    const auto processor = ShownBlade(LookedAtBlade()).At("/redfish/v1/Systems/Media/Processors/AMC6-DSP2");
    EXPECT_EQ("DSP", processor["ProcessorType"]);
    EXPECT_FALSE(processor.contains("Oem"));
}

TEST(RedfishProcessor, IsLinkedToNoChassisThatIsNotThere) {
    const auto processor = ShownBlade(HostileBlade()).At("/redfish/v1/Systems/Media/Processors/AMC8-DSP1");
    EXPECT_EQ("DSP", processor["ProcessorType"]);
    EXPECT_FALSE(processor.contains("Links"));
    EXPECT_FALSE(processor.contains("Model"));
}

TEST(RedfishInterface, HasBothAddresses) {
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP2",
        "@odata.type": "#EthernetInterface.v1_12_4.EthernetInterface", "Id": "AMC3-DSP2",
        "Name": "Interface of DSP 2 of AMC bay 3", "MACAddress": "02:4D:71:00:00:02",
        "IPv4Addresses": [{"Address": "192.168.0.22", "AddressOrigin": "Static"}],
        "IPv4StaticAddresses": [{"Address": "192.168.0.22"}],
        "Links": {"Chassis": {"@odata.id": "/redfish/v1/Chassis/AMC3"}}})"),
              ShownBlade(SmallBlade()).At("/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP2"));
}

TEST(RedfishInterface, HasEmptyListsWithoutAnAddress) {
    for (const Picture& picture : {LookedAtBlade(), HostileBlade()}) {
        const auto interface = ShownBlade(picture).At("/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1");
        EXPECT_EQ(nlohmann::ordered_json::array(), interface["IPv4Addresses"]);
        EXPECT_EQ(nlohmann::ordered_json::array(), interface["IPv4StaticAddresses"]);
    }
    EXPECT_FALSE(
        ShownBlade(HostileBlade()).At("/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1").contains("MACAddress"));
}

TEST(RedfishInterface, TakesAnAddressWhereTheAdaptorServesIt) {
    Picture picture = SmallBlade();
    picture.m_dsps[1].m_note = "not in service";
    const ShownBlade blade(picture);
    const auto allow = [&](const char* id) {
        return AllowOf(FindNode(blade.m_facts, std::string("/redfish/v1/Systems/Media/EthernetInterfaces/") + id));
    };
    EXPECT_EQ("GET, HEAD, PATCH", allow("AMC3-DSP1"));
    EXPECT_EQ("GET, HEAD", allow("AMC3-DSP2"));
}

} // namespace
