// The commands that show what there is: `inventory`, `leds`, `status`, `pstn` and `groups`.
#include "host/commands/Context.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/views/Inventory.h"
#include "host/views/LedPanel.h"
#include "host/views/Pstn.h"
#include "host/views/Status.h"
#include "host/words/Commands.h"

#include <cstdlib>

namespace bmhost {

namespace {

constexpr unsigned Places = OnCommandLine | InShell;

Command::Runner View(bool (*view)(Session& session, bool color, std::string& text)) {
    return [view](Context& context) {
        return RunForPeople(context, [view](Session& session, bool color, std::string& text, std::string&) {
            return view(session, color, text);
        });
    };
}

bool RunStatus(Context& context) {
    if (!context.Globals().m_json) return View(Status)(context);
    return RunForPeople(
        context, [](Session& session, bool, std::string& text, std::string&) { return StatusJson(session, text); });
}

bool RunPstn(Context& context) {
    std::string text;
    const bool good = PstnTable(getenv("BLADESIM_RUN_DIR"), ColorWanted(context.Output()), text);
    WriteAll(context.Output(), text);
    return good;
}

bool RunGroups(Context& context) {
    WriteAll(context.Output(), ListGroups());
    return true;
}

} // namespace

void AddViews(Commands& commands) {
    commands.Add("inventory", "show the blade's hardware", Places)
        .ForPeople()
        .Details("Board, modules and what they carry, as tables. Status 1 when the board's table cannot be read.\n")
        .Example("bmhost inventory")
        .Example("bmhost --mode 2 inventory")
        .Run(View(ShowInventory));
    commands.Add("leds", "show the blade's LEDs", Places)
        .ForPeople()
        .Details(
            "Every LED of baseboard, AMCs and RTM, read one by one. An LED that cannot be read does not hide the others,\n"
            "but makes the status 1.\n")
        .Example("bmhost leds")
        .Run(View(LedPanel));
    commands.Add("status", "show run status and LEDs of the blade", Places)
        .Details(
            "Run status, out-of-service LED and health LED of baseboard, AMCs and RTM, and the last firmware upgrade.\n"
            "The run status is what the adaptor of this process has set: `status` alone knows none, in a `shell` it\n"
            "follows `start`. The LEDs are the hardware's. With --json all of it is one line.\n"
            "Status 0 when board, modules and upgrade could be read, no module has failed (5), and the last upgrade has\n"
            "not. LEDs do not count.\n")
        .Example("bmhost status")
        .Example("bmhost status --json")
        .Run(RunStatus);
    commands.Add("pstn", "show what the PCI driver was told of the PSTN", Places)
        .ForPeople()
        .Details(
            "The records of the simulated blade's driver file, in their order. Needs no adaptor, but a simulated blade.\n")
        .Example("bmhost pstn")
        .Run(RunPstn);
    commands.Add("groups", "list the parameter groups and their parameters", Places)
        .ForPeople()
        .Details("Needs no adaptor.\n")
        .Example("bmhost groups")
        .Run(RunGroups);
}

} // namespace bmhost
