// `bmhost switch`: the external ports of the blade's Ethernet switch; `switch enable` and `switch disable` set one.
#include "host/context/Context.h"
#include "host/context/GiveOrder.h"
#include "host/views/Views.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Value.h"

namespace bmhost {

namespace {

constexpr int LastPort = 4;

int PortNumber(const std::string& word) {
    const auto port = ParseNumber(word);
    if (!port || *port < 1 || *port > LastPort)
        throw UsageError("switch: PORT '" + word + "': expected a port from 1 to " + std::to_string(LastPort));
    return static_cast<int>(*port);
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
                          .Details("Their state as the adaptor keeps it, and the links as the switch has them. Without "
                                   "a resident host\nthe state is the stored one, and no link is known.\n"
                                   "Status 0 when there are ports and every link that was read is known.\n")
                          .Example("bmhost switch")
                          .Run([](Context& context) {
                              return RunLook(context, {"switch", PortsText, PortsAreGood, PortsRemarks});
                          });
    AddPortOrder(family, "enable", true);
    AddPortOrder(family, "disable", false);
}

} // namespace bmhost
