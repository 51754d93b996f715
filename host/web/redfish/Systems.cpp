// The DSPs, as one system's processors and interfaces.
#include "common/veldo_common_protocol.h"
#include "host/picture/Led.h"
#include "host/web/redfish/Builders.h"
#include "host/web/redfish/Places.h"

#include <algorithm>
#include <cctype>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

std::vector<std::string> DspIds(const Picture& picture) {
    std::vector<std::string> ids;
    for (const DspFacts& dsp : picture.m_dsps)
        ids.push_back(DspId(dsp));
    return ids;
}

std::string DspName(const DspFacts& dsp) {
    return "DSP " + std::to_string(dsp.m_dspOfAmc) + " of " + LedBayText(dsp.m_bay);
}

// A module whose row could not be read is no resource, so nothing can be linked.
void PutChassisLink(ordered_json& resource, const Picture& picture, const DspFacts& dsp) {
    if (ModuleRow(picture, dsp.m_bay) != nullptr) resource["Links"]["Chassis"] = LinkTo(ChassisUri(dsp.m_bay));
}

const CBMIParams* AmcRow(const Picture& picture, int bay) {
    for (const CBMIParams& row : picture.m_inventory.m_amcs) {
        if (KnownNumber(row, BMI_HW_AMC_FRU_BAY) == bay) return &row;
    }
    return nullptr;
}

bool IsMacAddress(const std::string& text) {
    constexpr std::size_t length = 17;
    if (text.size() != length) return false;
    for (std::size_t i = 0; i < length; ++i) {
        const bool good = i % 3 == 2 ? text[i] == ':' : std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (!good) return false;
    }
    return true;
}

// In mode 2 the adaptor has no addresses; the blade may use others than the storage's when it is started again.
bool HasAddress(const DspFacts& dsp) {
    return !dsp.m_ip.empty() && dsp.m_read && !dsp.m_stored;
}

ordered_json MediaStatus(const Wanted& wanted) {
    std::vector<int> bays;
    for (const DspFacts& dsp : wanted.m_picture.m_dsps)
        bays.push_back(dsp.m_bay);
    RedfishStatus status = WorstStatus(wanted.m_picture, bays);
    if (wanted.m_picture.m_health.m_state == HealthState::Fault) status.m_health = "Critical";
    return StatusJson(status);
}

} // namespace

Resource MakeSystems(const Wanted&) {
    return CollectionOf("ComputerSystemCollection", "/redfish/v1/Systems", "Systems", {"Media"});
}

Resource MakeMedia(const Wanted& wanted) {
    ordered_json media = ResourceOf("ComputerSystem", MediaUri, "Media", "DSPs of the blade");
    media["SystemType"] = "Physical";
    const ordered_json status = MediaStatus(wanted);
    if (!status.is_null() && wanted.m_facts.m_view.m_reachable) media["Status"] = status;
    media["Processors"] = LinkTo(std::string(MediaUri) + "/Processors");
    media["EthernetInterfaces"] = LinkTo(std::string(MediaUri) + "/EthernetInterfaces");
    ordered_json links;
    PutLinks(links, "Chassis", {BladeUri});
    PutLinks(links, "ManagedBy", {ManagerUri});
    media["Links"] = links;
    // Clients fail without these two, although they can be empty.
    media["Boot"] = ordered_json::object();
    media["Actions"] = ordered_json::object();
    return media;
}

Resource MakeProcessors(const Wanted& wanted) {
    return CollectionOf("ProcessorCollection", std::string(MediaUri) + "/Processors", "DSPs", DspIds(wanted.m_picture));
}

Resource MakeProcessor(const Wanted& wanted) {
    const Picture& picture = wanted.m_picture;
    const DspFacts* const dsp = FindDsp(picture, wanted.m_ids.at(0));
    if (dsp == nullptr) return std::nullopt;
    ordered_json processor = ResourceOf("Processor", ProcessorUri(*dsp), DspId(*dsp), DspName(*dsp));
    processor["ProcessorType"] = "DSP";
    const CBMIParams* const row = AmcRow(picture, dsp->m_bay);
    if (const auto model = row != nullptr ? KnownText(*row, BMI_HW_AMC_FRU_FIELD_A) : std::nullopt)
        processor["Model"] = *model;
    ordered_json location;
    location["LocationType"] = "Embedded";
    location["LocationOrdinalValue"] = dsp->m_dspOfAmc;
    processor["Location"]["PartLocation"] = location;
    const ordered_json status = StatusJson(StatusOfModule(picture, dsp->m_bay));
    if (!status.is_null() && wanted.m_facts.m_view.m_reachable) processor["Status"] = status;
    PutChassisLink(processor, picture, *dsp);
    // The number counts what is plugged in, and in mode 2 nothing counts it.
    if (picture.m_host.m_mode != HOST_MODE_LOOK_ONLY) {
        ordered_json own;
        own["DspNumber"] = dsp->m_number;
        processor["Oem"] = OwnObject("Processor", own);
    }
    return processor;
}

Resource MakeInterfaces(const Wanted& wanted) {
    return CollectionOf("EthernetInterfaceCollection", std::string(MediaUri) + "/EthernetInterfaces",
                        "Interfaces of the DSPs", DspIds(wanted.m_picture));
}

Resource MakeInterface(const Wanted& wanted) {
    const DspFacts* const dsp = FindDsp(wanted.m_picture, wanted.m_ids.at(0));
    if (dsp == nullptr) return std::nullopt;
    ordered_json interface =
        ResourceOf("EthernetInterface", InterfaceUri(*dsp), DspId(*dsp), "Interface of " + DspName(*dsp));
    if (IsMacAddress(dsp->m_mac)) interface["MACAddress"] = dsp->m_mac;
    ordered_json addresses = ordered_json::array();
    ordered_json fixed = ordered_json::array();
    if (HasAddress(*dsp)) {
        ordered_json address;
        address["Address"] = dsp->m_ip;
        fixed.push_back(address);
        address["AddressOrigin"] = "Static";
        addresses.push_back(address);
    }
    interface["IPv4Addresses"] = addresses;
    interface["IPv4StaticAddresses"] = fixed;
    PutChassisLink(interface, wanted.m_picture, *dsp);
    return interface;
}

bool TakesInterfaceAddress(const Wanted& wanted) {
    const DspFacts* const dsp = FindDsp(wanted.m_picture, wanted.m_ids.at(0));
    return dsp != nullptr && TakesAddress(*dsp) && wanted.m_picture.m_host.m_mode != HOST_MODE_LOOK_ONLY;
}

} // namespace bmhost
