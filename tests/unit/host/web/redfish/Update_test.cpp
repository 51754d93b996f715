// Firmware, and upgrades as tasks.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;

const std::string Tasks = "/redfish/v1/TaskService/Tasks/";
const std::string Monitors = "/redfish/v1/TaskService/TaskMonitors/";

std::string IdAt(int64_t milliseconds) {
    return std::to_string(TimeAt(milliseconds).time_since_epoch().count());
}

TEST(RedfishUpdate, IsServedByMultipart) {
    const auto service = ShownBlade(SmallBlade()).At("/redfish/v1/UpdateService");
    EXPECT_EQ("/redfish/v1/UpdateService/upload", service["MultipartHttpPushUri"]);
    EXPECT_EQ(536870912, service["MaxImageSizeBytes"]);
    EXPECT_EQ(nlohmann::ordered_json::object(), service["Actions"]) << "clients fail without it";
    EXPECT_FALSE(service.contains("HttpPushUri"));
}

TEST(RedfishFirmware, IsWhatEachPlaceHas) {
    const ShownBlade blade(BigBlade());
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/UpdateService/FirmwareInventory/AMC3",
        "@odata.type": "#SoftwareInventory.v1_13_0.SoftwareInventory", "Id": "AMC3",
        "Name": "Firmware of AMC bay 3", "Version": "1.3", "Updateable": true,
        "RelatedItem": [{"@odata.id": "/redfish/v1/Chassis/AMC3"}], "RelatedItem@odata.count": 1})"),
              blade.At("/redfish/v1/UpdateService/FirmwareInventory/AMC3"));
    EXPECT_EQ("2.7", blade.At("/redfish/v1/UpdateService/FirmwareInventory/Blade")["Version"]);
    EXPECT_FALSE(blade.At("/redfish/v1/UpdateService/FirmwareInventory/AMC2").contains("Version"))
        << "the adaptor did not get it";
}

TEST(RedfishTask, IsOneUpgrade) {
    const ShownBlade blade(SmallBlade());
    const std::string id = IdAt(100);
    const auto task = blade.At(Tasks + id);
    EXPECT_EQ("Completed", task["TaskState"]);
    EXPECT_EQ("OK", task["TaskStatus"]);
    EXPECT_EQ("2026-11-22T09:30:00.100Z", task["StartTime"]);
    EXPECT_EQ("2026-11-22T09:30:00.900Z", task["EndTime"]);
    EXPECT_EQ(Monitors + id, task["TaskMonitor"]);
    EXPECT_FALSE(task.contains("PercentComplete"));
    ASSERT_EQ(1U, task["Messages"].size());
    EXPECT_EQ("Update.1.3.UpdateSuccessful", task["Messages"][0]["MessageId"]);
    EXPECT_EQ("Device '/redfish/v1/UpdateService/FirmwareInventory/AMC3' successfully updated with image 'amc.bin'.",
              task["Messages"][0]["Message"]);
}

TEST(RedfishTask, SaysHowItEnded) {
    const auto failed = ShownBlade(SmallBlade()).At(Tasks + IdAt(1000));
    EXPECT_EQ("Exception", failed["TaskState"]);
    EXPECT_EQ("Critical", failed["TaskStatus"]);
    EXPECT_EQ("Installation of image 'board.bin' to '/redfish/v1/UpdateService/FirmwareInventory/Blade' failed.",
              failed["Messages"][0]["Message"]);
    const auto running = ShownBlade(BigBlade()).At(Tasks + IdAt(99000));
    EXPECT_EQ("Running", running["TaskState"]);
    EXPECT_FALSE(running.contains("EndTime"));
    EXPECT_EQ("Update.1.3.InstallingOnComponent", running["Messages"][0]["MessageId"]);
    const auto unknown = ShownBlade(HostileBlade()).At(Tasks + IdAt(7));
    EXPECT_EQ("Exception", unknown["TaskState"]) << "the host ended first";
    EXPECT_EQ("Warning", unknown["TaskStatus"]);
}

TEST(RedfishTaskMonitor, AnswersWhatTheRequestCameTo) {
    const RedfishAnswer running = ShownBlade(BigBlade()).Get(Monitors + IdAt(99000));
    EXPECT_EQ(202U, running.m_status);
    EXPECT_EQ(Monitors + IdAt(99000), running.Header("Location"));
    EXPECT_EQ("", running.Header("Retry-After")) << "a number there ends a client's wait";
    EXPECT_EQ("Running", BodyOf(running)["TaskState"]);
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(204U, blade.Get(Monitors + IdAt(100)).m_status);
    EXPECT_EQ("", blade.Get(Monitors + IdAt(100)).m_body);
    const RedfishAnswer failed = blade.Get(Monitors + IdAt(1000));
    EXPECT_EQ(500U, failed.m_status);
    EXPECT_THAT(MessagesOf(failed),
                ElementsAre("ApplyFailed(board.bin, /redfish/v1/UpdateService/FirmwareInventory/Blade)"));
    EXPECT_THAT(MessagesOf(ShownBlade(HostileBlade()).Get(Monitors + IdAt(7))), ElementsAre("OperationFailed"));
    EXPECT_EQ(404U, blade.Get(Monitors + "1").m_status);
}

} // namespace
