// `bmhost switch`: the external ports of the blade's Ethernet switch, and one of them enabled or disabled.
#include "host/commands/Switch.h"

#include "common/veldo_common_protocol.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int LastPort = 4;
constexpr int Enabled = 1;
constexpr int Disabled = 0;
constexpr int LinkDown = 0;
constexpr int LinkUp = 1;

const std::vector<std::string> PortHeading = {"port", "name", "leads to", "state", "link"};

// Any stored number but 1 disables the port, and is kept.
std::string StateText(int32_t admin) {
    if (admin == Enabled) return "enabled";
    return admin == Disabled ? "disabled" : "disabled (" + std::to_string(admin) + ")";
}

std::string LinkText(int32_t oper) {
    if (oper == LinkUp) return "up";
    return oper == LinkDown ? "down" : "unknown";
}

std::string TypeText(int32_t type) {
    constexpr int fabric = 2;
    constexpr int rtmBoard = 3;
    if (type == fabric) return "fabric";
    return type == rtmBoard ? "RTM" : std::to_string(type);
}

std::vector<std::string> PortLine(const CBMIParams& row) {
    return {TextOf(row, BMI_HW_AMC_SWITCHPORT_NUM), TextOf(row, BMI_HW_AMC_SWITCHPORT_NAME),
            TypeText(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_TYPE)),
            StateText(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_ADMIN)),
            LinkText(IntegerOf(row, BMI_HW_AMC_SWITCHPORT_OPER))};
}

} // namespace

SwitchOrder ParseSwitchOrder(const std::vector<std::string>& words) {
    if (words.size() != 3 || (words[1] != "enable" && words[1] != "disable"))
        throw UsageError("switch: expected switch, or switch enable|disable PORT");
    const auto port = ParseNumber(words[2]);
    if (!port || *port < 1 || *port > LastPort)
        throw UsageError("switch: PORT '" + words[2] + "': expected a port from 1 to " + std::to_string(LastPort));
    return {static_cast<int>(*port), words[1] == "enable"};
}

bool SwitchTable(Session& session, bool color, std::string& text) {
    int result = 0;
    const auto table = session.Table(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, result);
    std::vector<std::vector<std::string>> lines = {PortHeading};
    bool allKnown = result == Success;
    for (int i = 0; table != nullptr && i < table->GetSize(); ++i) {
        const CBMIParams& row = *table->Get(i);
        const int32_t link = IntegerOf(row, BMI_HW_AMC_SWITCHPORT_OPER);
        allKnown = allKnown && (link == LinkUp || link == LinkDown);
        lines.push_back(PortLine(row));
    }
    const bool hasPorts = lines.size() > 1;
    text += hasPorts ? AlignedTable(lines, color) : "no switch port: a blade without DSPs serves none\n";
    return hasPorts && allKnown;
}

bool SetSwitchPort(Session& session, const SwitchOrder& order, bool color, std::string& text, std::string& remarks) {
    CBMIKeys keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, order.m_port);
    CBMIParams values;
    values.Add(Integer(BMI_HW_AMC_SWITCHPORT_ADMIN, order.m_enable ? Enabled : Disabled, false));
    const int result = session.WriteRow(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, keys, values);
    if (result != Success) {
        remarks += "port " + std::to_string(order.m_port) + ": " +
                   (result == NoRow ? "the blade serves no such port" : "the switch or the storage refused it") +
                   "; the adaptor answered " + ResultText(result) + "\n";
        return false;
    }
    int readResult = 0;
    if (const auto row = session.Row(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, keys, readResult);
        row != nullptr && readResult == Success)
        text += AlignedTable({PortHeading, PortLine(*row)}, color);
    return true;
}

} // namespace bmhost
