// Events as Redfish tells them: from the resident host's news, and from what differs between two pictures.
#include "host/web/redfish/writes/Events.h"

#include "common/veldo_common_protocol.h"
#include "host/web/redfish/Messages.h"
#include "host/web/redfish/Places.h"
#include "host/web/redfish/Schemas.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <algorithm>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

ordered_json RecordOf(const char* type, const ExtendedInfo& info, const std::string& origin) {
    ordered_json record;
    record["EventType"] = type;
    record.update(MessageJson(info));
    record["OriginOfCondition"]["@odata.id"] = origin;
    return record;
}

std::optional<int64_t> ParameterIn(const ordered_json& event, unsigned id) {
    const auto params = event.find("params");
    if (params == event.end() || !params->is_array()) return std::nullopt;
    for (const ordered_json& param : *params) {
        if (!param.is_object() || param.value("id", ordered_json()) != Hex(id)) continue;
        const ordered_json value = param.value("value", ordered_json());
        if (value.is_number_integer()) return value.get<int64_t>();
    }
    return std::nullopt;
}

// The event tells of a module by its bay; what a client hears depends on whether the health is known then.
std::vector<ordered_json> RecordsOfEvent(const ordered_json& event) {
    if (event.value("event", ordered_json()) != Hex(BMI_EVENT_AMC_RUN_STATUS)) return {};
    const auto bay = ParameterIn(event, BMI_HW_AMC_BAY);
    const auto number = ParameterIn(event, BMI_HW_AMC_RUN_STATUS);
    if (!bay || !number || *bay < AMC_BAY_FIRST || *bay > RTM_BAY) return {};
    const RedfishStatus status = StatusOfRun(static_cast<int>(*number));
    if (status == RedfishStatus{}) return {};
    const std::string uri = ChassisUri(static_cast<int>(*bay));
    if (status.m_health.empty())
        return {RecordOf("StatusChange", {"ResourceStateChanged", {uri, std::string(status.m_state)}}, uri)};
    const bool good = status.m_health == "OK";
    return {RecordOf(
        "StatusChange",
        {good ? "ResourceStatusChangedOK" : "ResourceStatusChangedCritical", {uri, std::string(status.m_health)}},
        uri)};
}

std::vector<ordered_json> RecordsOfHealth(const ordered_json& health) {
    if (health.value("state", ordered_json()) != "fault") return {};
    std::string reasons;
    const auto list = health.find("reasons");
    for (std::size_t i = 0; list != health.end() && list->is_array() && i < list->size(); ++i) {
        if ((*list)[i].is_string()) reasons += (reasons.empty() ? "" : "; ") + (*list)[i].get<std::string>();
    }
    if (reasons.empty()) reasons = "no reason was logged";
    return {RecordOf("Alert", {"HealthFault", {"blade", reasons}}, ManagerUri)};
}

void AddUpgrade(const UpgradeFacts* before, const UpgradeFacts& after, std::vector<ordered_json>& records) {
    const auto add = [&](std::string_view key) {
        records.push_back(RecordOf("Other", {key, {TaskId(after)}}, TaskUri(after)));
    };
    if (before == nullptr) add("TaskStarted");
    const bool ended = after.m_ended && (before == nullptr || !before->m_ended);
    if (ended) add(after.m_state == UPGRADE_DONE ? "TaskCompletedOK" : "TaskAborted");
}

// The place of the one that has this key; null without one.
template <typename Items, typename Key>
const typename Items::value_type* SameIn(const Items& items, const typename Items::value_type& item, const Key& key) {
    const auto found = std::ranges::find_if(items, [&](const auto& other) { return key(other) == key(item); });
    return found != items.end() ? &*found : nullptr;
}

} // namespace

std::vector<ordered_json> RecordsOfNews(const News& news) {
    const ordered_json data = ordered_json::parse(news.m_data, nullptr, false);
    if (!data.is_object()) return {};
    std::vector<ordered_json> records;
    if (news.m_kind == "event") records = RecordsOfEvent(data);
    if (news.m_kind == "health") records = RecordsOfHealth(data);
    const ordered_json time = data.value("time", ordered_json());
    for (ordered_json& record : records) {
        record["EventId"] = std::to_string(news.m_id);
        if (time.is_string() && WallTimeOf(time.get<std::string>())) record["EventTimestamp"] = time;
    }
    return records;
}

std::vector<ordered_json> RecordsOfChange(const Picture& before, const Picture& after) {
    std::vector<ordered_json> records;
    for (const UpgradeFacts& upgrade : after.m_upgrades)
        AddUpgrade(SameIn(before.m_upgrades, upgrade, TaskId), upgrade, records);
    const auto changed = [&](const std::string& uri) {
        records.push_back(RecordOf("ResourceUpdated", {"ResourceChanged"}, uri));
    };
    for (const PortFacts& port : after.m_ports) {
        const PortFacts* const was = SameIn(before.m_ports, port, [](const PortFacts& one) { return one.m_port; });
        if (was != nullptr && !port.m_stored && was->m_enabled != port.m_enabled) changed(PortUri(port.m_port));
    }
    for (const DspFacts& dsp : after.m_dsps) {
        const DspFacts* const was = SameIn(before.m_dsps, dsp, DspId);
        if (was != nullptr && !dsp.m_stored && was->m_ip != dsp.m_ip) changed(InterfaceUri(dsp));
    }
    return records;
}

ordered_json EventOf(uint64_t id, const std::vector<ordered_json>& records, WallTime now) {
    ordered_json list = ordered_json::array();
    for (const ordered_json& record : records) {
        ordered_json member;
        member["MemberId"] = std::to_string(list.size());
        member.update(record);
        if (!member.contains("EventId")) member["EventId"] = std::to_string(id);
        if (!member.contains("EventTimestamp")) member["EventTimestamp"] = Rfc3339(now);
        list.push_back(member);
    }
    ordered_json event;
    event["@odata.type"] = TypeOf("Event");
    event["Id"] = std::to_string(id);
    event["Name"] = "Event";
    event["Events@odata.count"] = list.size();
    event["Events"] = list;
    return event;
}

std::string StreamedEvent(uint64_t id, const ordered_json& event) {
    const std::string text = event.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    return "id: " + std::to_string(id) + "\ndata: " + bm_dev::EscapedJson(text) + "\n\n";
}

} // namespace bmhost
