// Where things are on the blade, as Redfish names and links them, and how they are.
#include "host/web/redfish/Places.h"

#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/picture/ReadPicture.h"
#include "host/picture/StatusNames.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <charconv>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

/// How many upgrades are tasks. One that a client has just seen in the list has to be there when it is read.
constexpr std::size_t MostTasks = 50;

struct RunState {
    int m_runStatus;
    int m_badness; ///< the worst one speaks for many
    RedfishStatus m_status;
};

constexpr RunState RunStates[] = {{RUN_STATUS_RUNNING, 1, {"Enabled", "OK"}},
                                  {RUN_STATUS_STARTING, 2, {"Starting", ""}},
                                  {RUN_STATUS_INITIALISING, 2, {"Starting", ""}},
                                  {RUN_STATUS_UNWRITTEN, 3, {"StandbyOffline", ""}},
                                  {RUN_STATUS_FAILED, 4, {"UnavailableOffline", "Critical"}}};

const RunState* RunStateOf(int runStatus) {
    const auto* const found = std::ranges::find(RunStates, runStatus, &RunState::m_runStatus);
    return found != std::end(RunStates) ? found : nullptr;
}

const RunState* RunStateIn(const Picture& picture, int bay) {
    const CBMIParams* const row = ModuleRow(picture, bay);
    const CBMIParam* const status = row != nullptr ? row->GetParamById(BMI_HW_AMC_RUN_STATUS) : nullptr;
    return status != nullptr ? RunStateOf(status->GetInt()) : nullptr;
}

std::optional<int64_t> NumberOfText(const std::string& text) {
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(number) : std::nullopt;
}

} // namespace

std::string PlaceId(int bay) {
    if (bay == BaseboardBay) return "Blade";
    return bay == RtmBay ? "RTM" : "AMC" + std::to_string(bay);
}

std::optional<int> BayOfPlaceId(std::string_view id) {
    for (int bay = BaseboardBay; bay <= RtmBay; ++bay) {
        if (PlaceId(bay) == id) return bay;
    }
    return std::nullopt;
}

std::string DspId(const DspFacts& dsp) {
    return PlaceId(dsp.m_bay) + "-DSP" + std::to_string(dsp.m_dspOfAmc);
}

std::string TaskId(const UpgradeFacts& upgrade) {
    return std::to_string(upgrade.m_begun.time_since_epoch().count());
}

std::string ChassisUri(int bay) {
    return "/redfish/v1/Chassis/" + PlaceId(bay);
}

std::string ProcessorUri(const DspFacts& dsp) {
    return std::string(MediaUri) + "/Processors/" + DspId(dsp);
}

std::string InterfaceUri(const DspFacts& dsp) {
    return std::string(MediaUri) + "/EthernetInterfaces/" + DspId(dsp);
}

std::string PortUri(int port) {
    return std::string(SwitchUri) + "/Ports/" + std::to_string(port);
}

std::string FirmwareUri(int bay) {
    return "/redfish/v1/UpdateService/FirmwareInventory/" + PlaceId(bay);
}

std::string TaskUri(const UpgradeFacts& upgrade) {
    return "/redfish/v1/TaskService/Tasks/" + TaskId(upgrade);
}

std::string TaskMonitorUri(const UpgradeFacts& upgrade) {
    return "/redfish/v1/TaskService/TaskMonitors/" + TaskId(upgrade);
}

const CBMIParams* BoardRow(const Picture& picture) {
    return picture.m_inventory.m_board.empty() ? nullptr : &picture.m_inventory.m_board.front();
}

const CBMIParams* ModuleRow(const Picture& picture, int bay) {
    if (bay < FirstAmcBay || bay > RtmBay) return nullptr;
    for (const CBMIParams& row : picture.m_inventory.m_modules) {
        const CBMIParam* const key = row.GetParamById(BMI_HW_AMC_BAY);
        if (key != nullptr && key->GetInt() == bay) return &row;
    }
    return nullptr;
}

std::vector<int> ModuleBays(const Picture& picture) {
    std::vector<int> bays;
    for (int bay = FirstAmcBay; bay <= RtmBay; ++bay) {
        if (ModuleRow(picture, bay) != nullptr) bays.push_back(bay);
    }
    return bays;
}

std::optional<int> FirstAmc(const Picture& picture) {
    const std::vector<int> bays = ModuleBays(picture);
    return bays.empty() || bays.front() == RtmBay ? std::nullopt : std::optional(bays.front());
}

const DspFacts* FindDsp(const Picture& picture, std::string_view id) {
    const auto found = std::ranges::find_if(picture.m_dsps, [&](const DspFacts& dsp) { return DspId(dsp) == id; });
    return found != picture.m_dsps.end() ? &*found : nullptr;
}

std::vector<const PortFacts*> ServedPorts(const Picture& picture) {
    std::vector<const PortFacts*> ports;
    for (const PortFacts& port : picture.m_ports) {
        if (!port.m_stored) ports.push_back(&port);
    }
    return ports;
}

const PortFacts* FindPort(const Picture& picture, std::string_view id) {
    for (const PortFacts* const port : ServedPorts(picture)) {
        if (std::to_string(port->m_port) == id) return port;
    }
    return nullptr;
}

bool TakesAddress(const DspFacts& dsp) {
    return !dsp.m_stored && dsp.m_note != DspNotInService;
}

std::vector<const UpgradeFacts*> UpgradeTasks(const Picture& picture) {
    const auto& upgrades = picture.m_upgrades;
    std::vector<const UpgradeFacts*> tasks;
    for (std::size_t i = upgrades.size() > MostTasks ? upgrades.size() - MostTasks : 0; i < upgrades.size(); ++i)
        tasks.push_back(&upgrades[i]);
    return tasks;
}

const UpgradeFacts* FindUpgrade(const Picture& picture, std::string_view id) {
    for (const UpgradeFacts* const upgrade : UpgradeTasks(picture)) {
        if (TaskId(*upgrade) == id) return upgrade;
    }
    return nullptr;
}

int BayOfUpgrade(const UpgradeFacts& upgrade) {
    return upgrade.m_target == UpgradeOfModule ? upgrade.m_bay : BaseboardBay;
}

bool IsUnderWay(const UpgradeFacts& upgrade) {
    return !upgrade.m_ended && upgrade.m_state == UpgradeIsRunning;
}

RedfishStatus StatusOfRun(int runStatus) {
    const RunState* const state = RunStateOf(runStatus);
    return state != nullptr ? state->m_status : RedfishStatus{};
}

RedfishStatus StatusOfModule(const Picture& picture, int bay) {
    const RunState* const run = RunStateIn(picture, bay);
    RedfishStatus status = run != nullptr ? run->m_status : RedfishStatus{};
    const bool upgraded = std::ranges::any_of(picture.m_upgrades, [&](const UpgradeFacts& upgrade) {
        return IsUnderWay(upgrade) && BayOfUpgrade(upgrade) == bay;
    });
    if (upgraded) status.m_state = "Updating";
    return status;
}

RedfishStatus WorstStatus(const Picture& picture, const std::vector<int>& bays) {
    const RunState* worst = nullptr;
    for (const int bay : bays) {
        const RunState* const run = RunStateIn(picture, bay);
        if (run != nullptr && (worst == nullptr || run->m_badness > worst->m_badness)) worst = run;
    }
    return worst != nullptr ? worst->m_status : RedfishStatus{};
}

nlohmann::ordered_json StatusJson(const RedfishStatus& status) {
    nlohmann::ordered_json json;
    if (!status.m_state.empty()) json["State"] = status.m_state;
    if (!status.m_health.empty()) json["Health"] = status.m_health;
    return json;
}

std::optional<std::string> KnownText(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    if (param == nullptr) return std::nullopt;
    std::string text =
        param->GetType() == BMI_PARAM_STRING ? param->GetString() : std::to_string(int64_t{param->GetInt()});
    if (text == UNKNOWN_FW_VERSION) return std::nullopt;
    text.erase(text.find_last_not_of(' ') + 1);
    return text.empty() ? std::nullopt : std::optional(bm_dev::Utf8OfBytes(text));
}

std::optional<int64_t> KnownNumber(const CBMIParams& row, unsigned id) {
    const CBMIParam* const param = row.GetParamById(id);
    if (param == nullptr) return std::nullopt;
    return param->GetType() == BMI_PARAM_STRING ? NumberOfText(param->GetString())
                                                : std::optional<int64_t>(param->GetInt());
}

std::string CharactersOf(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const int length = bm_dev::Utf8Length(std::string_view(text).substr(at));
        if (length <= 0) return bm_dev::Utf8OfBytes(text);
        at += static_cast<std::size_t>(length);
    }
    return text;
}

} // namespace bmhost
