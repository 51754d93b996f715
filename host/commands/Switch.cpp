// `bmhost switch`: the external ports of the blade's Ethernet switch; `switch enable` and `switch disable` set one.
#include "common/veldo_common_protocol.h"
#include "host/commands/Context.h"
#include "host/commands/GiveOrder.h"
#include "host/output/TextOutput.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"
#include "host/views/BoardLines.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Value.h"

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr int LastPort = 4;
constexpr int LinkDown = 0;
constexpr int LinkUp = 1;

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
    std::vector<std::vector<std::string>> lines = {PortHeading()};
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

void AddPortOrder(Command& family, const std::string& name, bool enable) {
    Command& command = family.Add(name, name + " an external port");
    const auto word = command.Own<std::string>();
    command.Word("PORT", *word, {"1", "2", "3", "4"})
        .Details(
            "PORT is 1 to 4. Shows the port as it is read afterwards. Status 0 when it was set and its state stored.\n")
        .Example("bmhost switch " + name + " 2")
        .Run([word, name, enable](Context& context) {
            return GiveOrder(context, "switch " + name,
                             {"switch-set", {{"port", PortNumber(*word)}, {"enabled", enable}}});
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
