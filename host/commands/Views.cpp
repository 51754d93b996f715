// The commands that show what there is: `inventory`, `leds`, `status`, `pstn` and `groups`.
#include "host/views/Views.h"
#include "host/context/Context.h"
#include "host/output/Redirect.h"
#include "host/picture/Verdict.h"
#include "host/views/Groups.h"
#include "host/views/Pstn.h"
#include "host/words/Commands.h"

#include <cstdlib>

namespace bmhost {

namespace {

constexpr unsigned Places = OnCommandLine | InShell;

constexpr View InventoryView = {"inventory", InventoryText, InventoryIsGood, InitRemarks};
constexpr View LedsView = {"leds", LedsText, LedsAreGood};
constexpr View StatusView = {"status", StatusText, IsGood};

Command::Runner Shows(const View& view) {
    return [view](Context& context) { return RunLook(context, view); };
}

bool RunPstn(Context& context) {
    const char* const runFolder = getenv("BLADESIM_RUN_DIR");
    std::string text;
    const bool good = context.Globals().m_json
                          ? PstnJson(runFolder, text)
                          : PstnTable(runFolder, StyleOf(context.Output(), context.Globals().m_wide), text);
    WriteAll(context.Output(), text);
    return good;
}

bool RunGroups(Context& context) {
    WriteAll(context.Output(), context.Globals().m_json ? GroupsJson() : ListGroups());
    return true;
}

} // namespace

void AddViews(Commands& commands) {
    commands.Add("inventory", "show the blade's hardware", Places)
        .Details("Board, modules and what they carry, as tables. Status 1 when the board's table cannot be read.\n")
        .Example("bmhost inventory")
        .Example("bmhost --json inventory")
        .Run(Shows(InventoryView));
    commands.Add("leds", "show the blade's LEDs", Places)
        .Details(
            "Every LED of baseboard, AMCs and RTM, read one by one. An LED that cannot be read does not hide the others,\n"
            "but makes the status 1.\n")
        .Example("bmhost leds")
        .Run(Shows(LedsView));
    commands.Add("status", "show run status and LEDs of the blade", Places)
        .Details(
            "Run status, out-of-service LED and health LED of baseboard, AMCs and RTM, then health, controller, the last\n"
            "firmware upgrade and the last fault. The run status is what the host's adaptor has set: without a resident "
            "host,\n`status` alone knows none, and in a `shell` it follows `start`. The LEDs are the hardware's.\n"
            "Status 0 when nothing is at fault: a failed run status, a lit out-of-service LED, a red health LED, a lost\n"
            "controller, a fault that the monitor has found, a failed upgrade, and what cannot be read make it 1.\n")
        .Example("bmhost status")
        .Example("bmhost status --json")
        .Run(Shows(StatusView));
    commands.Add("pstn", "show what the PCI driver was told of the PSTN", Places)
        .Details(
            "The records of the simulated blade's driver file, in their order. Needs no adaptor, but a simulated blade.\n")
        .Example("bmhost pstn")
        .OnlyHere()
        .Run(RunPstn);
    commands.Add("groups", "list the parameter groups and their parameters", Places)
        .Details("Needs no adaptor.\n")
        .Example("bmhost groups")
        .Run(RunGroups);
}

} // namespace bmhost
