// DSPs with their addresses and the switch's ports as tables.
#include "host/output/TextOutput.h"
#include "host/picture/PictureWords.h"
#include "host/picture/ReadPicture.h"
#include "host/views/Views.h"

#include <algorithm>

namespace bmhost {

namespace {

constexpr const char* FromStorage = "stored, not read";
constexpr const char* NoneStored = "none stored";

std::string AddressCell(const DspFacts& dsp) {
    if (!dsp.m_ip.empty()) return PrintableText(dsp.m_ip);
    if (!dsp.m_read) return dsp.m_note == DspNotInService ? DspNotInService : "not read";
    return dsp.m_stored ? NoneStored : "none";
}

std::string StateCell(const PortFacts& port) {
    if (port.m_enabled) return std::string(*port.m_enabled ? "enabled" : "disabled");
    if (!port.m_note.empty()) return "not read";
    return port.m_stored ? NoneStored : "unknown";
}

std::string StoredCell(bool isStored, bool isThere) {
    return isStored && isThere ? FromStorage : "";
}

// The same refusal of the storage stands with each row.
template <typename Rows, typename Told>
std::string Remarks(const Rows& rows, const Told& told) {
    std::vector<std::string> said;
    for (const auto& row : rows) {
        if (told(row) && std::ranges::find(said, row.m_note) == said.end()) said.push_back(row.m_note);
    }
    std::string text;
    for (const std::string& note : said)
        text += "the storage said: " + PrintableText(note) + "\n";
    return text;
}

template <typename Rows>
bool AnyStored(const Rows& rows) {
    return std::ranges::any_of(rows, [](const auto& row) { return row.m_stored; });
}

} // namespace

std::string DspsText(const Picture& picture, const Style& style) {
    const auto& dsps = picture.m_dsps;
    if (dsps.empty()) return "no DSP\n";
    std::vector<std::vector<std::string>> lines = {{"DSP", "AMC bay", "DSP of AMC", "MAC address", "IP address"}};
    if (AnyStored(dsps)) lines[0].emplace_back("source of the address");
    for (const DspFacts& dsp : dsps) {
        lines.push_back({std::to_string(dsp.m_number), std::to_string(dsp.m_bay), std::to_string(dsp.m_dspOfAmc),
                         PrintableText(dsp.m_mac), AddressCell(dsp), StoredCell(dsp.m_stored, !dsp.m_ip.empty())});
    }
    return AlignedTable(lines, style);
}

std::string DspsRemarks(const Picture& picture) {
    return Remarks(picture.m_dsps, [](const DspFacts& dsp) {
        return dsp.m_ip.empty() && !dsp.m_note.empty() && dsp.m_note != DspNotInService;
    });
}

bool DspsAreGood(const Picture& picture) {
    return !picture.m_dsps.empty() &&
           std::ranges::all_of(picture.m_dsps, [](const DspFacts& dsp) { return dsp.m_read && !dsp.m_ip.empty(); });
}

std::string PortsText(const Picture& picture, const Style& style) {
    const auto& ports = picture.m_ports;
    if (ports.empty()) return "no switch port: a blade without DSPs serves none\n";
    std::vector<std::vector<std::string>> lines = {{"port", "name", "leads to", "state", "link"}};
    if (AnyStored(ports)) lines[0].emplace_back("source of the state");
    for (const PortFacts& port : ports) {
        const bool remarked = port.m_enabled && !port.m_note.empty();
        lines.push_back({std::to_string(port.m_port), PrintableText(port.m_name), port.m_leadsTo,
                         StateCell(port) + (remarked ? " (" + port.m_note + ")" : ""),
                         std::string(LinkWord(port.m_linkUp)), StoredCell(port.m_stored, port.m_enabled.has_value())});
    }
    return AlignedTable(lines, style);
}

std::string PortsRemarks(const Picture& picture) {
    return Remarks(picture.m_ports, [](const PortFacts& port) { return !port.m_enabled && !port.m_note.empty(); });
}

// The links of ports that were not read are nobody's fault.
bool PortsAreGood(const Picture& picture) {
    return !picture.m_ports.empty() && std::ranges::all_of(picture.m_ports, [](const PortFacts& port) {
        return port.m_stored ? port.m_enabled || port.m_note.empty() : port.m_linkUp.has_value();
    });
}

} // namespace bmhost
