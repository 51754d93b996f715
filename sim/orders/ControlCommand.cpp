// bladesim's commands for a running blade: fault, controller, show.
#include "sim/orders/ControlCommand.h"

#include "sim/base/Error.h"
#include "sim/blade/FaultKinds.h"
#include "sim/driver/FaultText.h"
#include "sim/orders/ControlClient.h"
#include "sim/orders/OrderCommand.h"
#include "sim/orders/Show.h"

#include <unistd.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <vector>

namespace bladesim {
namespace {

using nlohmann::json;

constexpr char FaultHelp[] =
    "What DO may be, with its argument:\n"
    "  completion-code CODE   answered with this completion code, without data\n"
    "  reply CODE [DATA…]     answered with these bytes\n"
    "  lost                   no reply comes; the driver answers 0xC3 after its time-out (bladesim --timeout)\n"
    "  late MS                the reply comes that much later; after the time-out it is dropped\n"
    "  short COUNT            the reply has its first COUNT bytes only, the completion code included\n"
    "  doubled                the reply comes twice; the driver drops the second\n"
    "  answered-twice         the opener gets the answer twice, which no correct driver does\n"
    "  other-fru FRU          answered as if FRU had been asked\n"
    "  gone MS                the controller goes away and comes back that much later; 0: not by itself\n"
    "  restarted              the controller goes away and is back before the next request is sent\n\n"
    "REQUEST is one word: \"2c 02 00 ??\" is any request that begins with these bytes.\n"
    "Example: bladesim fault add \"0a 11 02\" --first 3 --count 1 completion-code 0xC1\n";

bool IsTerminal() {
    return ::isatty(STDOUT_FILENO) != 0;
}

/// What can be shown: where it comes from and its format.
struct View {
    const char* m_name;
    const char* m_description;
    std::function<json()> m_get;
    std::function<std::string(const json&)> m_format;
};

const View Views[] = {
    {"requests", "How often each command was asked of /dev/ipmi0", [] { return GiveOrder("show requests"); },
     FormatRequests},
    {"log", "All requests of /dev/ipmi0 in their order, the last 100000", [] { return GiveOrder("show log"); },
     FormatLog},
    {"leds", "The LEDs as the controller has them", [] { return AskConsole("blade leds"); },
     [](const json& leds) { return FormatLeds(leds, IsTerminal()); }},
    {"controls", "The FRU Controls that the controller has received", [] { return AskConsole("blade controls"); },
     FormatControls},
    {"faults", "The faults and what they have hit", [] { return GiveOrder("fault list"); }, FormatFaults},
};

constexpr char Stopped[] = "the controller is stopped";

void ShowOne(const View& view, bool asJson) {
    const json data = view.m_get();
    if (data.is_null()) throw BladeError(Stopped);
    Print(asJson ? JsonLine(data) : view.m_format(data));
}

/// While the controller is stopped, the data that only it has are missing.
std::string FormatOrStopped(const View& view) {
    const json data = view.m_get();
    return data.is_null() ? std::string(Stopped) + "\n" : view.m_format(data);
}

void ShowAll(bool asJson) {
    if (asJson) {
        json all;
        for (const View& view : Views)
            all[view.m_name] = view.m_get();
        Print(JsonLine(all));
        return;
    }
    for (const View& view : Views)
        Print(std::string(&view == Views ? "" : "\n") + view.m_name + "\n" + FormatOrStopped(view));
}

class ControlCommand : public OrderCommand {
public:
    ControlCommand() {
        AddFaultCommands(AddCommand("fault", "Make the controller misbehave"));
        AddControllerCommands(AddCommand("controller", "Stop and start the controller"));
        AddShowCommands(AddCommand("show", "Show what the controller was asked and what it knows"));
    }

private:
    void AddFaultCommands(CLI::App& faultCommand) {
        faultCommand.require_subcommand(1);
        CLI::App* const add = faultCommand.add_subcommand("add", "Add a fault; prints its number");
        add->footer(FaultHelp);
        add->add_option("REQUEST", m_fault.m_request, "Network function, command and data in hexadecimal")
            ->required()
            ->type_name("");
        add->add_option("DO", m_fault.m_do, "What happens to such a request")->required()->type_name("");
        add->add_option("--first", m_fault.m_first, "The first such request that it hits, counted from 1")
            ->type_name("N");
        add->add_option("--count", m_fault.m_count, "How many it hits; 0: all")->type_name("N");
        add->callback([this] {
            const json fault = FaultOfWords();
            m_do = [fault] { Print(JsonLine(GiveOrder("fault add", {{"fault", fault}}))); };
        });

        CLI::App* const list = faultCommand.add_subcommand("list", "Show the faults and what they have hit");
        AddJson(*list);
        Does(*list, [this] { ShowOne(*std::prev(std::end(Views)), m_json); });

        CLI::App* const clear = faultCommand.add_subcommand("clear", "Remove a fault, or all of them");
        clear->add_option("NUMBER", m_number, "As printed by add and list")->type_name("");
        Does(*clear, [this] { GiveOrder("fault clear", m_number ? json{{"number", *m_number}} : json::object()); });

        CLI::App* const release =
            faultCommand.add_subcommand("release", "Let lost replies arrive after all; prints how many were kept");
        Does(*release, [] { Print(JsonLine(GiveOrder("fault release"))); });
    }

    void AddControllerCommands(CLI::App& controller) {
        struct Command {
            const char* m_name;
            const char* m_description;
        };
        static constexpr Command commands[] = {
            {"stop", "Take the controller away, as if it had lost its power"},
            {"start", "Bring it back, without anything that was set in it"},
            {"restart", "Both"},
        };
        controller.require_subcommand(1);
        for (const Command& command : commands) {
            CLI::App* const sub = controller.add_subcommand(command.m_name, command.m_description);
            Does(*sub, [&command] { GiveOrder(std::string("controller ") + command.m_name); });
        }
    }

    void AddShowCommands(CLI::App& show) {
        AddJson(show);
        show.require_subcommand(0, 1);
        show.footer("Without a subcommand it shows all of it.");
        // The callbacks of the subcommands come after this one and override it.
        show.preparse_callback([this](size_t) { m_do = [this] { ShowAll(m_json); }; });
        for (const View& view : Views) {
            CLI::App* const sub = show.add_subcommand(view.m_name, view.m_description);
            AddJson(*sub);
            Does(*sub, [this, &view] { ShowOne(view, m_json); });
        }
        CLI::App* const clear = show.add_subcommand("clear", "Forget requests and log, and count from here");
        Does(*clear, [] { GiveOrder("show clear"); });
    }

    /// The reader of blade files checks it.
    json FaultOfWords() const {
        json fault = {{"request", m_fault.m_request}};
        if (m_fault.m_first) fault["first"] = *m_fault.m_first;
        if (m_fault.m_count) fault["count"] = *m_fault.m_count;
        AddFaultWords(fault, m_fault.m_do);
        try {
            return FaultToJson(FaultFromJson(fault));
        } catch (const BladeError& error) {
            throw CLI::ValidationError(error.what());
        }
    }

    struct FaultWords {
        std::string m_request;
        std::optional<std::string> m_first;
        std::optional<std::string> m_count;
        std::vector<std::string> m_do;
    };

    FaultWords m_fault;
    std::optional<unsigned> m_number;
};

} // namespace

int RunControlCommand(int count, char** arguments) {
    return ControlCommand().Run(count, arguments);
}

} // namespace bladesim
