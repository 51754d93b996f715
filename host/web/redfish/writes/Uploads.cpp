// Firmware that is uploaded: which place it is for.
#include "host/web/redfish/Places.h"
#include "host/web/redfish/writes/Writing.h"

#include "host/picture/Led.h"

#include <algorithm>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* ApplyTime = "@Redfish.OperationApplyTime";

// The bay of a firmware item or of its chassis.
std::optional<int> BayOfTarget(const TreeFacts& facts, std::string uri) {
    if (uri.ends_with('/')) uri.pop_back();
    for (int bay = BaseboardBay; bay <= RtmBay; ++bay) {
        const bool named = uri == FirmwareUri(bay) || uri == ChassisUri(bay);
        if (named && ResourceAt(facts, uri)) return bay;
    }
    return std::nullopt;
}

Order UpgradeOrder(int bay) {
    nlohmann::json values;
    values["target"] = bay == BaseboardBay ? "board" : bay == RtmBay ? "rtm" : "amc";
    if (bay != BaseboardBay && bay != RtmBay) values["bay"] = bay;
    return {"firmware-update", values};
}

// There is one image for one place, so one target is meant.
std::vector<ExtendedInfo> WrongTargets(const ordered_json& body) {
    if (!body.contains("Targets")) return {{"PropertyMissing", {"Targets"}, "/Targets"}};
    const ordered_json& targets = body["Targets"];
    if (!targets.is_array()) return {{"PropertyValueTypeError", {ValueInMessage(targets), "Targets"}, "/Targets"}};
    if (targets.empty()) return {{"PropertyMissing", {"Targets"}, "/Targets"}};
    if (targets.size() > 1) return {{"ArraySizeTooLong", {"Targets", "1"}, "/Targets"}};
    if (!targets[0].is_string())
        return {{"PropertyValueTypeError", {ValueInMessage(targets[0]), "Targets/0"}, "/Targets/0"}};
    return {};
}

std::vector<ExtendedInfo> WrongParameters(const ordered_json& body) {
    std::vector<ExtendedInfo> infos = WrongTargets(body);
    for (const auto& [name, value] : body.items()) {
        if (name == ApplyTime && value != "Immediate")
            infos.push_back({"PropertyValueNotInList", {ValueInMessage(value), name}, "/" + name});
        if (name != "Targets" && name.find('@') == std::string::npos)
            infos.push_back({"PropertyUnknown", {name}, "/" + name});
    }
    return infos;
}

} // namespace

std::variant<Order, RedfishAnswer> UploadOrderOf(const TreeFacts& facts, const std::optional<std::string>& parameters) {
    if (!IsBladeKnown(facts)) return UnavailableAnswer();
    if (!parameters) return ErrorAnswer(400, {{"MissingOrMalformedPart"}});
    const auto parsed = ObjectOf(*parameters);
    if (const auto* const answer = std::get_if<RedfishAnswer>(&parsed)) return *answer;
    const auto& body = std::get<ordered_json>(parsed);
    const std::vector<ExtendedInfo> infos = WrongParameters(body);
    if (!infos.empty()) return ErrorAnswer(400, infos);
    const auto target = body["Targets"][0].get<std::string>();
    const auto bay = BayOfTarget(facts, target);
    if (!bay)
        return ErrorAnswer(
            400, {{"PropertyValueNotInList", {ValueInMessage(body["Targets"][0]), "Targets/0"}, "/Targets/0"}});
    const auto& upgrades = facts.m_view.m_picture->m_upgrades;
    if (std::ranges::any_of(upgrades, IsUnderWay)) {
        RedfishAnswer answer = ErrorAnswer(503, {{"ResourceInUse"}});
        answer.m_headers.emplace_back("Retry-After", "30");
        return answer;
    }
    return UpgradeOrder(*bay);
}

} // namespace bmhost
