// What bladesim shows of the board's Ethernet switch.
#include "sim/orders/SwitchShow.h"

#include "bm_dev/Table.h"

namespace bladesim {
namespace {

using namespace bm_dev;
using nlohmann::ordered_json;
using Rows = bm_dev::TableRows;

const char* StateOf(const SwitchPort& port) {
    return port.m_enabled ? "enabled" : "disabled";
}

const char* UpOrDown(bool up) {
    return up ? "up" : "down";
}

bool HasLink(const SwitchPort& port) {
    return port.m_enabled && port.m_cable;
}

} // namespace

std::string FormatSwitch(const SwitchState& state) {
    Rows ports{{{"PORT"}, {"STATE"}, {"CABLE"}, {"LINK"}}};
    for (const auto& [number, port] : state.m_ports) {
        ports.push_back(
            {{std::to_string(number)}, {StateOf(port)}, {UpOrDown(port.m_cable)}, {UpOrDown(HasLink(port))}});
    }
    std::string text = FormatTable(ports, false);
    Rows learnt{{{"ADDRESS"}, {"BEHIND"}}};
    for (const auto& [mac, destination] : state.m_learnt) {
        learnt.push_back(
            {{TextOfMac(mac)}, {(destination.m_isDSP ? "DSP " : "port ") + std::to_string(destination.m_number)}});
    }
    if (learnt.size() > 1) text += "\n" + FormatTable(learnt, false);
    Rows failures{{{"CALL"}, {"ANSWERS"}, {"FOR"}}};
    for (const auto& [where, code] : state.m_failures) {
        failures.push_back(
            {{where.first}, {std::to_string(code)}, {where.second ? std::to_string(*where.second) : "all"}});
    }
    if (failures.size() > 1) text += "\n" + FormatTable(failures, false);
    return text;
}

ordered_json JsonOfSwitch(const SwitchState& state) {
    ordered_json ports = ordered_json::array();
    for (const auto& [number, port] : state.m_ports) {
        ports.push_back(
            {{"port", number}, {"enabled", port.m_enabled}, {"cable", port.m_cable}, {"link", HasLink(port)}});
    }
    ordered_json learnt = ordered_json::array();
    for (const auto& [mac, destination] : state.m_learnt) {
        learnt.push_back({{"mac", TextOfMac(mac)}, {destination.m_isDSP ? "dsp" : "port", destination.m_number}});
    }
    ordered_json failures = ordered_json::array();
    for (const auto& [where, code] : state.m_failures) {
        ordered_json failure = {{"call", where.first}, {"code", code}};
        if (where.second) failure["number"] = *where.second;
        failures.push_back(std::move(failure));
    }
    return {{"ports", ports}, {"learnt", learnt}, {"failures", failures}};
}

} // namespace bladesim
