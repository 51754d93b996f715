// The blade and its modules as Chassis.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(RedfishChassis, OfTheBladeIsItsRowAndItsLinks) {
    const ShownBlade blade(SmallBlade());
    auto chassis = blade.At("/redfish/v1/Chassis/Blade");
    chassis.erase("Oem");
    chassis.erase("Actions");
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/Chassis/Blade", "@odata.type": "#Chassis.v1_28_0.Chassis",
        "Id": "Blade", "Name": "Blade", "ChassisType": "Blade", "Manufacturer": "Harrow Blade Works",
        "Model": "FB-7200 Carrier", "SerialNumber": "FB72-0009917", "PartNumber": "PN-100", "Version": "Rev. D1",
        "Location": {"PartLocation": {"LocationType": "Slot", "LocationOrdinalValue": 7}},
        "Status": {"HealthRollup": "OK"},
        "Links": {"Contains": [{"@odata.id": "/redfish/v1/Chassis/AMC3"}, {"@odata.id": "/redfish/v1/Chassis/AMC6"},
                               {"@odata.id": "/redfish/v1/Chassis/RTM"}], "Contains@odata.count": 3,
            "ComputerSystems": [{"@odata.id": "/redfish/v1/Systems/Media"}], "ComputerSystems@odata.count": 1,
            "ManagedBy": [{"@odata.id": "/redfish/v1/Managers/Bmhost"}], "ManagedBy@odata.count": 1,
            "ManagersInChassis": [{"@odata.id": "/redfish/v1/Managers/Bmhost"}], "ManagersInChassis@odata.count": 1,
            "Switches": [{"@odata.id": "/redfish/v1/Fabrics/Ethernet/Switches/Switch"}],
            "Switches@odata.count": 1}})"),
              chassis);
}

TEST(RedfishChassis, OfAModuleIsItsRowWithoutWhatIsEmpty) {
    const ShownBlade blade(SmallBlade());
    auto chassis = blade.At("/redfish/v1/Chassis/AMC3");
    chassis.erase("Oem");
    chassis.erase("Actions");
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/Chassis/AMC3", "@odata.type": "#Chassis.v1_28_0.Chassis",
        "Id": "AMC3", "Name": "AMC bay 3", "ChassisType": "Module", "Manufacturer": "Quillon Signal Labs",
        "Model": "QS-AMC4 Media", "SerialNumber": "QSA4-1000233", "Version": "Rev. B",
        "Location": {"PartLocation": {"LocationType": "Bay", "LocationOrdinalValue": 3}},
        "Status": {"State": "Enabled", "Health": "OK"},
        "Links": {"ContainedBy": {"@odata.id": "/redfish/v1/Chassis/Blade"},
            "ManagedBy": [{"@odata.id": "/redfish/v1/Managers/Bmhost"}], "ManagedBy@odata.count": 1,
            "Processors": [{"@odata.id": "/redfish/v1/Systems/Media/Processors/AMC3-DSP1"},
                           {"@odata.id": "/redfish/v1/Systems/Media/Processors/AMC3-DSP2"}],
            "Processors@odata.count": 2}})"),
              chassis);
}

TEST(RedfishChassis, HasItsLedsWithTheirAge) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(Json(R"({"@odata.type": "#Bmhost.v1_0_0.Chassis", "Simulated": false, "Leds": [
        {"Led": 1, "Name": "hot swap", "State": "Off", "Control": "Override",
         "ReadTime": "2026-11-22T09:30:00.500Z", "AgeMilliseconds": 2500},
        {"Led": 2, "Name": "out of service", "State": "On", "Color": "Red", "Control": "Override",
         "ReadTime": "2026-11-22T09:30:00.500Z", "AgeMilliseconds": 2500}]})"),
              blade.At("/redfish/v1/Chassis/Blade")["Oem"]["Bmhost"])
        << "LED 4 could not be read";
    EXPECT_EQ(Json(R"([{"Led": 3, "Name": "health", "State": "Blink", "Color": "Green", "Control": "Override",
        "OnMilliseconds": 200, "OffMilliseconds": 1250, "ReadTime": "2026-11-22T09:30:00.500Z",
        "AgeMilliseconds": 2500}])"),
              blade.At("/redfish/v1/Chassis/AMC3")["Oem"]["Bmhost"]["Leds"]);
}

TEST(RedfishChassis, OfTheRtmHasFramers) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(Json(R"({"@odata.type": "#Bmhost.v1_0_0.Chassis", "RunStatus": 4, "RunStatusName": "running",
        "Leds": [], "Framers": {"Type": 1, "Count": 2, "TrunksPerFramer": 4}})"),
              blade.At("/redfish/v1/Chassis/RTM")["Oem"]["Bmhost"]);
    EXPECT_EQ(Json(R"({"Count": 2})"), [] {
        Picture picture = HostileBlade();
        picture.m_inventory.m_modules.push_back(ModuleOf(9, "RTM", 1));
        return ShownBlade(picture).At("/redfish/v1/Chassis/RTM")["Oem"]["Bmhost"]["Framers"];
    }()) << "from texts of the environment";
}

TEST(RedfishChassis, OffersWhatReallyLands) {
    const ShownBlade blade(SmallBlade());
    const auto actions = blade.At("/redfish/v1/Chassis/Blade")["Actions"];
    EXPECT_EQ(Json(R"({"target": "/redfish/v1/Chassis/Blade/Actions/Chassis.Reset",
                       "ResetType@Redfish.AllowableValues": ["ForceRestart"]})"),
              actions["#Chassis.Reset"]);
    EXPECT_EQ("/redfish/v1/Chassis/Blade/Actions/Oem/Bmhost.SetLed", actions["Oem"]["#Bmhost.SetLed"]["target"]);
    EXPECT_TRUE(blade.At("/redfish/v1/Chassis/AMC3")["Actions"].contains("Oem")) << "the first AMC";
    EXPECT_FALSE(blade.At("/redfish/v1/Chassis/AMC3")["Actions"].contains("#Chassis.Reset"));
    EXPECT_FALSE(blade.At("/redfish/v1/Chassis/AMC6").contains("Actions"));
    EXPECT_FALSE(blade.At("/redfish/v1/Chassis/RTM").contains("Actions"));
    const ShownBlade simulated(HostileBlade());
    EXPECT_FALSE(simulated.At("/redfish/v1/Chassis/Blade").contains("Actions"));
}

TEST(RedfishChassis, SaysWhyItIsSimulated) {
    const auto own = ShownBlade(HostileBlade()).At("/redfish/v1/Chassis/Blade")["Oem"]["Bmhost"];
    EXPECT_EQ(true, own["Simulated"]);
    EXPECT_EQ("/dev/ipmi0: Permission denied \xC2\xB0", own["SimulatedReason"]);
}

TEST(RedfishChassis, ShowsTheHardwaresBytesAsCharacters) {
    const ShownBlade blade(HostileBlade());
    const auto chassis = blade.At("/redfish/v1/Chassis/Blade");
    EXPECT_EQ("<b>\"\x01\xC3\xA9\x7F\n", chassis["Model"]);
    EXPECT_FALSE(chassis.contains("Manufacturer")) << "blanks only";
    EXPECT_FALSE(chassis.contains("SerialNumber")) << "empty";
    EXPECT_FALSE(chassis.contains("Location")) << "not known";
    const std::string body = blade.Get("/redfish/v1/Chassis/Blade").m_body;
    EXPECT_THAT(body, testing::HasSubstr("<b>\\\"\\u0001"));
    EXPECT_THAT(body, testing::HasSubstr("\\u007f\\n"));
}

TEST(RedfishChassis, IsUpdatingDuringAnUpgrade) {
    const ShownBlade blade(BigBlade());
    EXPECT_EQ("Updating", blade.At("/redfish/v1/Chassis/AMC5")["Status"]["State"]);
    EXPECT_NE("Updating", blade.At("/redfish/v1/Chassis/AMC4")["Status"]["State"]);
    Picture picture = SmallBlade();
    picture.m_upgrades.push_back({0, 0, 0, TimeAt(9000), std::nullopt, "", "", "", "", ""});
    EXPECT_EQ(Json(R"({"State": "Updating", "HealthRollup": "OK"})"),
              ShownBlade(picture).At("/redfish/v1/Chassis/Blade")["Status"]);
}

TEST(RedfishChassis, HasNoStatusThatNobodyHears) {
    ShownBlade blade(SmallBlade());
    blade.m_view.m_reachable = false;
    for (const char* const uri : {"/redfish/v1/Chassis/Blade", "/redfish/v1/Chassis/AMC3", "/redfish/v1/Systems/Media",
                                  "/redfish/v1/Systems/Media/Processors/AMC3-DSP1"}) {
        ASSERT_TRUE(blade.At(uri).is_object());
        EXPECT_FALSE(blade.At(uri).contains("Status")) << uri;
    }
}

TEST(RedfishChassis, OfTheBladeIsThereWithoutItsRow) {
    const ShownBlade blade(BareBlade());
    EXPECT_EQ(1U, blade.At("/redfish/v1/Chassis")["Members"].size());
    EXPECT_FALSE(blade.At("/redfish/v1/Chassis/Blade").contains("Model"));
    EXPECT_FALSE(blade.At("/redfish/v1/Chassis/Blade").contains("Status"));
}

} // namespace
