// `bmhost switch`: the external ports of the blade's Ethernet switch; `switch enable` and `switch disable` set one.
#include "common/veldo_common_protocol.h"
#include "host/commands/Context.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/words/Commands.h"
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

int PortNumber(const std::string& word) {
    const auto port = ParseNumber(word);
    if (!port || *port < 1 || *port > LastPort)
        throw UsageError("switch: PORT '" + word + "': expected a port from 1 to " + std::to_string(LastPort));
    return static_cast<int>(*port);
}

// True when there are any and each one's link is known.
bool SwitchTable(Session& session, bool color, std::string& text, std::string&) {
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

// Shows the port as it is read afterwards. True when it was set and its state stored.
bool SetSwitchPort(Session& session, int port, bool enable, bool color, std::string& text, std::string& remarks) {
    CBMIKeys keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, port);
    CBMIParams values;
    values.Add(Integer(BMI_HW_AMC_SWITCHPORT_ADMIN, enable ? Enabled : Disabled, false));
    const int result = session.WriteRow(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, keys, values);
    if (result != Success) {
        remarks += "port " + std::to_string(port) + ": " +
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

void AddPortOrder(Command& family, const std::string& name, bool enable) {
    Command& command = family.Add(name, name + " an external port");
    const auto word = command.Own<std::string>();
    command.ForPeople()
        .Word("PORT", *word, {"1", "2", "3", "4"})
        .Details(
            "PORT is 1 to 4. Shows the port as it is read afterwards. Status 0 when it was set and its state stored.\n")
        .Example("bmhost switch " + name + " 2")
        .Run([word, enable](Context& context) {
            const int port = PortNumber(*word);
            return RunForPeople(context, [&](Session& session, bool color, std::string& text, std::string& remarks) {
                return SetSwitchPort(session, port, enable, color, text, remarks);
            });
        });
}

} // namespace

void AddSwitch(Commands& commands) {
    Command& family = commands.Add("switch", "show the external ports of the Ethernet switch", OnCommandLine | InShell)
                          .ForPeople()
                          .Details("Their state as the adaptor keeps it, and the links as the switch has them.\n"
                                   "Status 0 when there are ports and every link is known.\n")
                          .Example("bmhost switch")
                          .Run([](Context& context) { return RunForPeople(context, SwitchTable); });
    AddPortOrder(family, "enable", true);
    AddPortOrder(family, "disable", false);
}

} // namespace bmhost
