// Where things are on the blade, as Redfish names and links them, and how they are.
#pragma once

#include "host/picture/Picture.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// Ids come from places, never from the order of a table: "Blade", "AMC3", "RTM"; bay 0 is the blade.
std::string PlaceId(int bay);
/// Nothing for a text that is no place's.
std::optional<int> BayOfPlaceId(std::string_view id);
/// "AMC3-DSP2".
std::string DspId(const DspFacts& dsp);
/// In milliseconds of its beginning, so that it stays the same while others come and go.
std::string TaskId(const UpgradeFacts& upgrade);

constexpr const char* RootUri = "/redfish/v1/";
constexpr const char* BladeUri = "/redfish/v1/Chassis/Blade";
constexpr const char* MediaUri = "/redfish/v1/Systems/Media";
constexpr const char* ManagerUri = "/redfish/v1/Managers/Bmhost";
constexpr const char* SwitchUri = "/redfish/v1/Fabrics/Ethernet/Switches/Switch";
constexpr const char* SessionsUri = "/redfish/v1/SessionService/Sessions";
constexpr const char* EventStreamUri = "/redfish/v1/EventService/SSE";
constexpr const char* UploadUri = "/redfish/v1/UpdateService/upload";

std::string ChassisUri(int bay);
std::string ProcessorUri(const DspFacts& dsp);
std::string InterfaceUri(const DspFacts& dsp);
std::string PortUri(int port);
std::string FirmwareUri(int bay);
std::string TaskUri(const UpgradeFacts& upgrade);
std::string TaskMonitorUri(const UpgradeFacts& upgrade);

/// The board's row; null when it could not be read.
const BM_ADAPTOR::CBMIParams* BoardRow(const Picture& picture);
/// Null when there is no such module.
const BM_ADAPTOR::CBMIParams* ModuleRow(const Picture& picture, int bay);
/// Of the modules that there are, in their order.
std::vector<int> ModuleBays(const Picture& picture);
/// The AMC whose LEDs the adaptor sets; nothing without one.
std::optional<int> FirstAmc(const Picture& picture);
/// Null when there is none of this id, or it would be an id that another one has.
const DspFacts* FindDsp(const Picture& picture, std::string_view id);
/// The switch's ports that the adaptor serves: in mode 2 the storage knows more than these.
std::vector<const PortFacts*> ServedPorts(const Picture& picture);
const PortFacts* FindPort(const Picture& picture, std::string_view id);
/// Whether the adaptor takes an address for it.
bool TakesAddress(const DspFacts& dsp);
/// The last ones, oldest first.
std::vector<const UpgradeFacts*> UpgradeTasks(const Picture& picture);
const UpgradeFacts* FindUpgrade(const Picture& picture, std::string_view id);
/// Bay 0: of the baseboard.
int BayOfUpgrade(const UpgradeFacts& upgrade);
bool IsUnderWay(const UpgradeFacts& upgrade);

/// Empty texts: not known.
struct RedfishStatus {
    std::string_view m_state{};
    std::string_view m_health{};

    bool operator==(const RedfishStatus&) const = default;
};

/// Of a run status; nothing is known of any other number.
RedfishStatus StatusOfRun(int runStatus);
/// Of the module, an upgrade of it under way included.
RedfishStatus StatusOfModule(const Picture& picture, int bay);
/// The worst of these modules.
RedfishStatus WorstStatus(const Picture& picture, const std::vector<int>& bays);
/// Null where nothing is known.
nlohmann::ordered_json StatusJson(const RedfishStatus& status);

/// The hardware's text as characters, without blanks at its end; nothing for an empty one, and for a version that the
/// adaptor did not get.
std::optional<std::string> KnownText(const BM_ADAPTOR::CBMIParams& row, unsigned id);
/// The row's number; a text that is one counts.
std::optional<int64_t> KnownNumber(const BM_ADAPTOR::CBMIParams& row, unsigned id);
/// This system's own text, which is UTF-8, or else the hardware's bytes.
std::string CharactersOf(const std::string& text);

} // namespace bmhost
