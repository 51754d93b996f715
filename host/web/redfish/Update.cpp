// Firmware: what is installed, and upgrades as tasks.
#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr const char* FirmwareInventoryUri = "/redfish/v1/UpdateService/FirmwareInventory";
constexpr const char* TasksUri = "/redfish/v1/TaskService/Tasks";

ordered_json ServiceStatus() {
    return StatusJson({"Enabled", "OK"});
}

// How the upgrade stands, in a Task's words.
struct TaskEnd {
    const char* m_state;
    const char* m_status;
};

TaskEnd EndOfTask(const UpgradeFacts& upgrade) {
    if (upgrade.m_state == UpgradeIsDone) return {"Completed", "OK"};
    if (upgrade.m_state == UpgradeHasFailed) return {"Exception", "Critical"};
    // The resident host ended before the upgrade did, and nobody knows how that ended.
    return upgrade.m_ended ? TaskEnd{"Exception", "Warning"} : TaskEnd{"Running", "OK"};
}

std::string ImageName(const UpgradeFacts& upgrade) {
    return upgrade.m_file.empty() ? "unknown" : CharactersOf(upgrade.m_file);
}

ExtendedInfo MessageOfTask(const UpgradeFacts& upgrade) {
    const std::string component = FirmwareUri(BayOfUpgrade(upgrade));
    // The registry's messages differ in the order of their arguments.
    if (upgrade.m_state == UpgradeIsDone) return {"UpdateSuccessful", {component, ImageName(upgrade)}};
    if (upgrade.m_state == UpgradeHasFailed) return {"ApplyFailed", {ImageName(upgrade), component}};
    return {"InstallingOnComponent", {ImageName(upgrade), component}};
}

ordered_json TaskJson(const UpgradeFacts& upgrade) {
    const TaskEnd end = EndOfTask(upgrade);
    ordered_json task = ResourceOf("Task", TaskUri(upgrade), TaskId(upgrade),
                                   "Firmware upgrade of " + LedBayText(BayOfUpgrade(upgrade)));
    task["TaskState"] = end.m_state;
    task["TaskStatus"] = end.m_status;
    task["StartTime"] = Rfc3339(upgrade.m_begun);
    if (upgrade.m_ended) task["EndTime"] = Rfc3339(*upgrade.m_ended);
    task["TaskMonitor"] = TaskMonitorUri(upgrade);
    task["Messages"] = ordered_json::array({MessageJson(MessageOfTask(upgrade))});
    return task;
}

} // namespace

Resource MakeUpdateService(const Wanted& wanted) {
    ordered_json service =
        ResourceOf("UpdateService", "/redfish/v1/UpdateService", "UpdateService", "Firmware upgrades");
    service["ServiceEnabled"] = true;
    service["Status"] = ServiceStatus();
    service["MultipartHttpPushUri"] = UploadUri;
    service["MaxImageSizeBytes"] = wanted.m_facts.m_mostImageBytes;
    service["FirmwareInventory"] = LinkTo(FirmwareInventoryUri);
    service["Actions"] = ordered_json::object();
    return service;
}

Resource MakeFirmwares(const Wanted& wanted) {
    std::vector<std::string> ids = {PlaceId(BaseboardBay)};
    for (const int bay : ModuleBays(wanted.m_picture))
        ids.push_back(PlaceId(bay));
    return CollectionOf("SoftwareInventoryCollection", FirmwareInventoryUri, "Firmware", ids);
}

Resource MakeFirmware(const Wanted& wanted) {
    const auto bay = BayOfPlaceId(wanted.m_ids.at(0));
    if (!bay) return std::nullopt;
    const bool board = *bay == BaseboardBay;
    const CBMIParams* const row = board ? BoardRow(wanted.m_picture) : ModuleRow(wanted.m_picture, *bay);
    if (row == nullptr && !board) return std::nullopt;
    ordered_json firmware =
        ResourceOf("SoftwareInventory", FirmwareUri(*bay), PlaceId(*bay), "Firmware of " + LedBayText(*bay));
    const unsigned column = board ? BMI_HW_BOARD_FW_VERSION : BMI_HW_AMC_FW_VERSION;
    if (const auto version = row != nullptr ? KnownText(*row, column) : std::nullopt) firmware["Version"] = *version;
    firmware["Updateable"] = true;
    PutLinks(firmware, "RelatedItem", {ChassisUri(*bay)});
    return firmware;
}

Resource MakeTaskService(const Wanted& wanted) {
    ordered_json service = ResourceOf("TaskService", "/redfish/v1/TaskService", "TaskService", "Tasks");
    service["ServiceEnabled"] = true;
    service["Status"] = ServiceStatus();
    service["DateTime"] = Rfc3339(wanted.m_facts.m_now);
    service["CompletedTaskOverWritePolicy"] = "Oldest";
    service["LifeCycleEventOnTaskStateChange"] = true;
    service["Tasks"] = LinkTo(TasksUri);
    return service;
}

Resource MakeTasks(const Wanted& wanted) {
    std::vector<std::string> ids;
    for (const UpgradeFacts* const upgrade : UpgradeTasks(wanted.m_picture))
        ids.push_back(TaskId(*upgrade));
    return CollectionOf("TaskCollection", TasksUri, "Firmware upgrades", ids);
}

Resource MakeTask(const Wanted& wanted) {
    const UpgradeFacts* const upgrade = FindUpgrade(wanted.m_picture, wanted.m_ids.at(0));
    return upgrade != nullptr ? Resource(TaskJson(*upgrade)) : std::nullopt;
}

// 202 while the upgrade runs, then what the request would have been answered. No Retry-After: a client that waits as
// long as it says fails on a number there.
std::optional<RedfishAnswer> AnswerTaskMonitor(const Wanted& wanted) {
    const UpgradeFacts* const upgrade = FindUpgrade(wanted.m_picture, wanted.m_ids.at(0));
    if (upgrade == nullptr) return std::nullopt;
    if (IsUnderWay(*upgrade)) {
        RedfishAnswer answer = JsonAnswer(202, TaskJson(*upgrade));
        answer.m_headers.emplace_back("Location", TaskMonitorUri(*upgrade));
        return answer;
    }
    if (upgrade->m_state == UpgradeIsDone) return EmptyAnswer(204);
    if (upgrade->m_state == UpgradeHasFailed) return ErrorAnswer(500, {MessageOfTask(*upgrade)});
    return ErrorAnswer(500, {{"OperationFailed"}});
}

} // namespace bmhost
