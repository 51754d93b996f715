// What bladesim shows of the board's Ethernet switch.
#include "sim/orders/SwitchShow.h"

#include "sim/orders/Table.h"

#include <array>
#include <cstdio>
#include <vector>

namespace BLADESIM {
namespace {

using namespace BM_PLATFORM;
using nlohmann::ordered_json;
using ROWS = std::vector<std::vector<CELL>>;

std::string MacText(const std::array<unsigned char, 6>& a_Mac) {
    std::array<char, 18> l_Text{};
    std::snprintf(l_Text.data(), l_Text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", a_Mac[0], a_Mac[1], a_Mac[2], a_Mac[3],
                  a_Mac[4], a_Mac[5]);
    return l_Text.data();
}

const char* StateOf(const SWITCH_PORT& a_Port) {
    return a_Port.m_Enabled ? "enabled" : "disabled";
}

const char* UpOrDown(bool a_Up) {
    return a_Up ? "up" : "down";
}

bool HasLink(const SWITCH_PORT& a_Port) {
    return a_Port.m_Enabled && a_Port.m_Cable;
}

} // namespace

std::string FormatSwitch(const SWITCH_STATE& a_State) {
    ROWS l_Ports{{{"PORT"}, {"STATE"}, {"CABLE"}, {"LINK"}}};
    for (const auto& [l_Number, l_Port] : a_State.m_Ports) {
        l_Ports.push_back(
            {{std::to_string(l_Number)}, {StateOf(l_Port)}, {UpOrDown(l_Port.m_Cable)}, {UpOrDown(HasLink(l_Port))}});
    }
    std::string l_Text = FormatTable(l_Ports, false);
    ROWS l_Learnt{{{"ADDRESS"}, {"BEHIND"}}};
    for (const auto& [l_Mac, l_Destination] : a_State.m_Learnt) {
        l_Learnt.push_back(
            {{MacText(l_Mac)}, {(l_Destination.m_IsDSP ? "DSP " : "port ") + std::to_string(l_Destination.m_Number)}});
    }
    if (l_Learnt.size() > 1) l_Text += "\n" + FormatTable(l_Learnt, false);
    ROWS l_Failures{{{"CALL"}, {"ANSWERS"}, {"FOR"}}};
    for (const auto& [l_Where, l_Code] : a_State.m_Failures) {
        l_Failures.push_back(
            {{l_Where.first}, {std::to_string(l_Code)}, {l_Where.second ? std::to_string(*l_Where.second) : "all"}});
    }
    if (l_Failures.size() > 1) l_Text += "\n" + FormatTable(l_Failures, false);
    return l_Text;
}

ordered_json JsonOfSwitch(const SWITCH_STATE& a_State) {
    ordered_json l_Ports = ordered_json::array();
    for (const auto& [l_Number, l_Port] : a_State.m_Ports) {
        l_Ports.push_back(
            {{"port", l_Number}, {"enabled", l_Port.m_Enabled}, {"cable", l_Port.m_Cable}, {"link", HasLink(l_Port)}});
    }
    ordered_json l_Learnt = ordered_json::array();
    for (const auto& [l_Mac, l_Destination] : a_State.m_Learnt) {
        l_Learnt.push_back({{"mac", MacText(l_Mac)}, {l_Destination.m_IsDSP ? "dsp" : "port", l_Destination.m_Number}});
    }
    ordered_json l_Failures = ordered_json::array();
    for (const auto& [l_Where, l_Code] : a_State.m_Failures) {
        ordered_json l_Failure = {{"call", l_Where.first}, {"code", l_Code}};
        if (l_Where.second) l_Failure["number"] = *l_Where.second;
        l_Failures.push_back(std::move(l_Failure));
    }
    return {{"ports", l_Ports}, {"learnt", l_Learnt}, {"failures", l_Failures}};
}

} // namespace BLADESIM
