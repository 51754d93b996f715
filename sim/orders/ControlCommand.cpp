// bladesim's commands for a blade that runs: fault, controller, show.
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

namespace BLADESIM {
namespace {

using nlohmann::json;

constexpr char g_FaultHelp[] =
    "What DO may be, with its argument:\n"
    "  completion-code CODE   answered with this completion code, without data\n"
    "  reply CODE [DATA…]     answered with these bytes\n"
    "  lost                   no reply comes; the driver answers 0xC3 after its time-out (bladesim --timeout)\n"
    "  late MS                the reply comes so much later; after the time-out it is dropped\n"
    "  short COUNT            the reply has its first COUNT bytes only, the completion code included\n"
    "  doubled                the reply comes twice; the driver drops the second\n"
    "  answered-twice         the opener gets the answer twice, which no sound driver does\n"
    "  other-fru FRU          answered as if FRU had been asked\n"
    "  gone MS                the controller goes away, and comes back so much later; 0: not by itself\n\n"
    "REQUEST is one word: \"2c 02 00 ??\" is any request that begins with these bytes.\n"
    "Example: bladesim fault add \"0a 11 02\" --first 3 --count 1 completion-code 0xC1\n";

bool IsTerminal() {
    return ::isatty(STDOUT_FILENO) != 0;
}

/// What can be shown: where it comes from and how it looks.
struct VIEW {
    const char* m_Name;
    const char* m_Description;
    std::function<json()> m_Get;
    std::function<std::string(const json&)> m_Format;
};

const VIEW g_Views[] = {
    {"requests", "How often each command was asked of /dev/ipmi0", [] { return GiveOrder("show requests"); },
     FormatRequests},
    {"log", "All requests of /dev/ipmi0 in their order, the last 100000", [] { return GiveOrder("show log"); },
     FormatLog},
    {"leds", "The LEDs as the controller has them", [] { return AskConsole("blade leds"); },
     [](const json& a_Leds) { return FormatLeds(a_Leds, IsTerminal()); }},
    {"controls", "The FRU Controls that the controller has received", [] { return AskConsole("blade controls"); },
     FormatControls},
    {"faults", "The faults that are ordered", [] { return GiveOrder("fault list"); }, FormatFaults},
};

constexpr char g_Stopped[] = "the controller is stopped";

void ShowOne(const VIEW& a_View, bool a_Json) {
    const json l_Data = a_View.m_Get();
    if (l_Data.is_null()) throw BLADE_ERROR(g_Stopped);
    Print(a_Json ? JsonLine(l_Data) : a_View.m_Format(l_Data));
}

/// What only the controller knows is missing while it is stopped.
std::string FormatOrStopped(const VIEW& a_View) {
    const json l_Data = a_View.m_Get();
    return l_Data.is_null() ? std::string(g_Stopped) + "\n" : a_View.m_Format(l_Data);
}

void ShowAll(bool a_Json) {
    if (a_Json) {
        json l_All;
        for (const VIEW& l_View : g_Views)
            l_All[l_View.m_Name] = l_View.m_Get();
        Print(JsonLine(l_All));
        return;
    }
    for (const VIEW& l_View : g_Views)
        Print(std::string(&l_View == g_Views ? "" : "\n") + l_View.m_Name + "\n" + FormatOrStopped(l_View));
}

class CONTROL_COMMAND : public ORDER_COMMAND {
public:
    CONTROL_COMMAND() {
        AddFaultCommands(AddCommand("fault", "Order misbehaviour of the controller"));
        AddControllerCommands(AddCommand("controller", "Stop and start the controller"));
        AddShowCommands(AddCommand("show", "Show what the controller was asked and what it knows"));
    }

private:
    void AddFaultCommands(CLI::App& a_Fault) {
        a_Fault.require_subcommand(1);
        CLI::App* const l_Add = a_Fault.add_subcommand("add", "Order a fault; prints its number");
        l_Add->footer(g_FaultHelp);
        l_Add->add_option("REQUEST", m_Fault.m_Request, "Network function, command and data in hexadecimal")
            ->required()
            ->type_name("");
        l_Add->add_option("DO", m_Fault.m_Do, "What happens to such a request")->required()->type_name("");
        l_Add->add_option("--first", m_Fault.m_First, "The first such request that it hits, counted from 1")
            ->type_name("N");
        l_Add->add_option("--count", m_Fault.m_Count, "How many it hits; 0: all")->type_name("N");
        l_Add->callback([this] {
            const json l_Fault = FaultOfWords();
            m_Do = [l_Fault] { Print(JsonLine(GiveOrder("fault add", {{"fault", l_Fault}}))); };
        });

        CLI::App* const l_List = a_Fault.add_subcommand("list", "Show the faults and what they have hit");
        AddJson(*l_List);
        Does(*l_List, [this] { ShowOne(*std::prev(std::end(g_Views)), m_Json); });

        CLI::App* const l_Clear = a_Fault.add_subcommand("clear", "Take a fault back, or all of them");
        l_Clear->add_option("NUMBER", m_Number, "As add and list have printed it")->type_name("");
        Does(*l_Clear, [this] { GiveOrder("fault clear", m_Number ? json{{"number", *m_Number}} : json::object()); });

        CLI::App* const l_Release =
            a_Fault.add_subcommand("release", "Let lost replies come after all; prints how many were kept");
        Does(*l_Release, [] { Print(JsonLine(GiveOrder("fault release"))); });
    }

    void AddControllerCommands(CLI::App& a_Controller) {
        struct COMMAND {
            const char* m_Name;
            const char* m_Description;
        };
        static constexpr COMMAND l_Commands[] = {
            {"stop", "Take the controller away, as if it had lost its power"},
            {"start", "Have it back, with nothing of what was set in it"},
            {"restart", "Both"},
        };
        a_Controller.require_subcommand(1);
        for (const COMMAND& l_Command : l_Commands) {
            CLI::App* const l_Sub = a_Controller.add_subcommand(l_Command.m_Name, l_Command.m_Description);
            Does(*l_Sub, [&l_Command] { GiveOrder(std::string("controller ") + l_Command.m_Name); });
        }
    }

    void AddShowCommands(CLI::App& a_Show) {
        AddJson(a_Show);
        a_Show.require_subcommand(0, 1);
        a_Show.footer("Without a subcommand: all of it.");
        // The callbacks of the subcommands come behind this one, and have the last word.
        a_Show.preparse_callback([this](size_t) { m_Do = [this] { ShowAll(m_Json); }; });
        for (const VIEW& l_View : g_Views) {
            CLI::App* const l_Sub = a_Show.add_subcommand(l_View.m_Name, l_View.m_Description);
            AddJson(*l_Sub);
            Does(*l_Sub, [this, &l_View] { ShowOne(l_View, m_Json); });
        }
        CLI::App* const l_Clear = a_Show.add_subcommand("clear", "Forget requests and log, and count from here");
        Does(*l_Clear, [] { GiveOrder("show clear"); });
    }

    /// The same reader as for blade files says what is wrong with it.
    json FaultOfWords() const {
        json l_Fault = {{"request", m_Fault.m_Request}};
        if (m_Fault.m_First) l_Fault["first"] = *m_Fault.m_First;
        if (m_Fault.m_Count) l_Fault["count"] = *m_Fault.m_Count;
        AddFaultWords(l_Fault, m_Fault.m_Do);
        try {
            return FaultToJson(FaultFromJson(l_Fault));
        } catch (const BLADE_ERROR& l_Error) {
            throw CLI::ValidationError(l_Error.what());
        }
    }

    struct FAULT_WORDS {
        std::string m_Request;
        std::optional<std::string> m_First;
        std::optional<std::string> m_Count;
        std::vector<std::string> m_Do;
    };

    FAULT_WORDS m_Fault;
    std::optional<unsigned> m_Number;
};

} // namespace

int RunControlCommand(int a_Count, char** a_Arguments) {
    return CONTROL_COMMAND().Run(a_Count, a_Arguments);
}

} // namespace BLADESIM
