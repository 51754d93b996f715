// Events as Redfish tells them.
#include "host/web/redfish/writes/Events.h"

#include "host/web/redfish/TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

News RunStatusNews(int bay, int status) {
    ordered_json data = Json(R"({"op": "event", "event": "0x70402", "number": 5, "params": [
        {"id": "0x30208", "type": 1, "key": false, "value": 0}, {"id": "0x30201", "type": 1, "key": true, "value": 0}],
        "time": "2026-11-22T09:30:00.125Z"})");
    data["params"][0]["value"] = status;
    data["params"][1]["value"] = bay;
    return {77, "event", data.dump()};
}

// "ResourceStateChanged(/redfish/v1/Chassis/AMC3, Starting) of /redfish/v1/Chassis/AMC3".
std::vector<std::string> Told(const std::vector<ordered_json>& records) {
    std::vector<std::string> texts;
    for (const ordered_json& record : records) {
        const auto id = record["MessageId"].get<std::string>();
        std::string arguments;
        for (const auto& argument : record["MessageArgs"])
            arguments += (arguments.empty() ? "" : ", ") + argument.get<std::string>();
        texts.push_back(id + "(" + arguments + ") of " + record["OriginOfCondition"]["@odata.id"].get<std::string>());
    }
    return texts;
}

TEST(RedfishEvents, TellTheRunStatus) {
    const std::string amc = "/redfish/v1/Chassis/AMC3";
    const auto told = [](int status) { return Told(RecordsOfNews(RunStatusNews(3, status))); };
    EXPECT_THAT(told(1), ElementsAre("ResourceEvent.1.4.ResourceStateChanged(" + amc + ", StandbyOffline) of " + amc));
    EXPECT_THAT(told(2), ElementsAre("ResourceEvent.1.4.ResourceStateChanged(" + amc + ", Starting) of " + amc));
    EXPECT_THAT(told(3), ElementsAre("ResourceEvent.1.4.ResourceStateChanged(" + amc + ", Starting) of " + amc));
    EXPECT_THAT(told(4), ElementsAre("ResourceEvent.1.4.ResourceStatusChangedOK(" + amc + ", OK) of " + amc));
    EXPECT_THAT(told(5),
                ElementsAre("ResourceEvent.1.4.ResourceStatusChangedCritical(" + amc + ", Critical) of " + amc));
    EXPECT_THAT(told(6), IsEmpty());
    EXPECT_THAT(Told(RecordsOfNews(RunStatusNews(9, 4))),
                ElementsAre("ResourceEvent.1.4.ResourceStatusChangedOK(/redfish/v1/Chassis/RTM, OK) of "
                            "/redfish/v1/Chassis/RTM"));
    EXPECT_THAT(RecordsOfNews(RunStatusNews(10, 4)), IsEmpty());
}

TEST(RedfishEvents, HaveTheTimeAndTheNumberOfTheNews) {
    const auto records = RecordsOfNews(RunStatusNews(3, 5));
    ASSERT_EQ(1U, records.size());
    EXPECT_EQ("77", records[0]["EventId"]);
    EXPECT_EQ("2026-11-22T09:30:00.125Z", records[0]["EventTimestamp"]);
    EXPECT_EQ("StatusChange", records[0]["EventType"]);
    EXPECT_EQ("Critical", records[0]["MessageSeverity"]);
    EXPECT_FALSE(records[0].contains("Severity"));
}

TEST(RedfishEvents, TellAFaultOfTheMonitor) {
    EXPECT_THAT(Told(RecordsOfNews({1, "health", R"({"state": "fault", "reasons": ["AMC failed", "RTM failed"]})"})),
                ElementsAre("Bmhost.1.0.HealthFault(blade, AMC failed; RTM failed) of /redfish/v1/Managers/Bmhost"));
    EXPECT_THAT(Told(RecordsOfNews({1, "health", R"({"state": "fault", "reasons": []})"})),
                ElementsAre("Bmhost.1.0.HealthFault(blade, no reason was logged) of /redfish/v1/Managers/Bmhost"));
    EXPECT_THAT(RecordsOfNews({1, "health", R"({"state": "monitored", "reasons": []})"}), IsEmpty());
}

TEST(RedfishEvents, TellNothingOfOtherNews) {
    for (const char* const data : {"", "[]", "{}", "7", R"({"event": "0x600", "params": []})", R"({"event": 7})",
                                   R"({"event": "0x70402"})", R"({"event": "0x70402", "params": [7]})",
                                   R"({"event": "0x70402", "params": [{"id": "0x30201", "value": "x"}]})"}) {
        EXPECT_THAT(RecordsOfNews({1, "event", data}), IsEmpty()) << data;
        EXPECT_THAT(RecordsOfNews({1, "picture", data}), IsEmpty()) << data;
        EXPECT_THAT(RecordsOfNews({1, "health", data}), IsEmpty()) << data;
    }
}

TEST(RedfishEvents, TellHowUpgradesGo) {
    const Picture before = SmallBlade();
    Picture running = before;
    running.m_upgrades.push_back({1, 3, 0, TimeAt(5000), std::nullopt, "a.bin", "", "", "", ""});
    const std::string id = std::to_string(TimeAt(5000).time_since_epoch().count());
    const std::string uri = "/redfish/v1/TaskService/Tasks/" + id;
    EXPECT_THAT(Told(RecordsOfChange(before, running)), ElementsAre("TaskEvent.1.0.TaskStarted(" + id + ") of " + uri));
    EXPECT_THAT(RecordsOfChange(running, running), IsEmpty());
    Picture done = running;
    done.m_upgrades.back().m_state = 2;
    done.m_upgrades.back().m_ended = TimeAt(6000);
    EXPECT_THAT(Told(RecordsOfChange(running, done)),
                ElementsAre("TaskEvent.1.0.TaskCompletedOK(" + id + ") of " + uri));
    EXPECT_THAT(Told(RecordsOfChange(before, done)),
                ElementsAre("TaskEvent.1.0.TaskStarted(" + id + ") of " + uri,
                            "TaskEvent.1.0.TaskCompletedOK(" + id + ") of " + uri));
    Picture failed = done;
    failed.m_upgrades.back().m_state = 3;
    EXPECT_THAT(Told(RecordsOfChange(running, failed)), ElementsAre("TaskEvent.1.0.TaskAborted(" + id + ") of " + uri));
    EXPECT_THAT(RecordsOfChange(done, before), IsEmpty()) << "one that is not kept any more";
}

TEST(RedfishEvents, TellWhatWasWritten) {
    const Picture before = SmallBlade();
    Picture after = before;
    after.m_ports[1].m_enabled = true;
    after.m_ports[0].m_linkUp = false; // nobody wrote that
    after.m_dsps[3].m_ip = "192.168.0.99";
    const std::string changed = "ResourceEvent.1.4.ResourceChanged() of ";
    EXPECT_THAT(Told(RecordsOfChange(before, after)),
                ElementsAre(changed + "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/2",
                            changed + "/redfish/v1/Systems/Media/EthernetInterfaces/AMC6-DSP2"));
    EXPECT_THAT(RecordsOfChange(Picture{}, SmallBlade()).size(), 4U)
        << "two upgrades that began and ended, nothing else";
}

TEST(RedfishEvents, AreWrappedForTheStream) {
    const auto records = RecordsOfNews(RunStatusNews(3, 4));
    const ordered_json event = EventOf(5, {records[0], Json(R"({"MessageId": "A.1.0.B"})")}, TimeAt(0));
    EXPECT_EQ("#Event.v1_13_0.Event", event["@odata.type"]);
    EXPECT_EQ("5", event["Id"]);
    EXPECT_EQ(2, event["Events@odata.count"]);
    EXPECT_EQ("0", event["Events"][0]["MemberId"]);
    EXPECT_EQ("77", event["Events"][0]["EventId"]);
    EXPECT_EQ("1", event["Events"][1]["MemberId"]);
    EXPECT_EQ("5", event["Events"][1]["EventId"]);
    EXPECT_EQ("2026-11-22T09:30:00.000Z", event["Events"][1]["EventTimestamp"]);
}

TEST(RedfishEvents, AreOneLineEach) {
    EXPECT_EQ("id: 9\ndata: {\"Message\":\"a\\nb\\u007f\"}\n\n",
              StreamedEvent(9, Json(R"({"Message": "a\nb\u007f"})")));
}

} // namespace
