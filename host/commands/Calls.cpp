// The calls: `init`, `start`, `stop`, `fin`, `read`, `table`, `write`, and in a shell or a script `sleep` and
// `wait-event`.
#include "common/veldo_common_protocol.h"
#include "host/context/Context.h"
#include "host/context/GiveOrder.h"
#include "host/words/Call.h"
#include "host/words/Commands.h"
#include "host/words/Names.h"

namespace bmhost {

namespace {

constexpr unsigned Everywhere = OnCommandLine | InShell | InScript;

constexpr const char* ParameterHelp =
    "GROUP and ID are numbers (0x30200) or names, with or without their prefix, in any case; `bmhost groups` lists them.\n"
    "Write an ID of the group's own as its column is shown, if you like: bay, run_status.\n"
    "VALUE is an integer (decimal or 0x…), true or false, or text; i: u: s: b: before it force the type 1, 2, 4 or 0.\n";

constexpr const char* LifeHelp =
    "\nA call alone on the command line has `init` before it and `fin` after it. These two show nothing and do not count for\n"
    "the exit status.\n";

void AddLifecycle(Commands& commands, Operation operation, const std::string& summary, const std::string& details,
                  const std::string& example) {
    const std::string name(OperationName(operation));
    commands.Add(name, summary, Everywhere)
        .Dash(Dashes::LongOnly)
        .Details(details)
        .Example(example)
        .Run([operation](Context& context) {
            Call call;
            call.m_operation = operation;
            return context.Make(call);
        });
}

struct GroupWords {
    std::string m_group;
    std::vector<std::string> m_params;
};

Command& AddGroupCall(Commands& commands, Operation operation, const std::string& summary) {
    Command& command = commands.Add(std::string(OperationName(operation)), summary, Everywhere);
    const auto words = command.Own<GroupWords>();
    Choices groups;
    groups.m_after = [](const auto&) { return ShortGroupNames(); };
    command.Dash(Dashes::LongOnly).Word("GROUP", words->m_group, groups);
    if (operation != Operation::Table) {
        Choices parameters;
        parameters.m_after = [](const auto& earlier) { return ParameterWords(earlier.front()); };
        command.Words("[ID=VALUE ...]", words->m_params, parameters);
    }
    if (operation == Operation::Write) command.Usage("GROUP [ID=VALUE ...] -- [ID=VALUE ...]");
    command.Details(std::string(ParameterHelp) + LifeHelp);
    command.Run([&command, operation, words](Context& context) {
        Call call = ParseGroupCall(operation, words->m_group, words->m_params, command.Usage());
        // The adaptor resets the board whatever the row says. A script or a pipe knows what it does.
        const bool resets = operation == Operation::Write && call.m_group == BM_ADAPTOR::BMI_GROUP_HARDWARE_BOARD;
        const auto terminal = context.Terminal();
        if (resets && terminal && !ConfirmedAt(*terminal, BoardResetQuestion)) return false;
        return context.Make(call);
    });
    return command;
}

void AddWait(Commands& commands, Operation operation, const std::string& summary, const std::string& details,
             const std::string& example) {
    Command& command = commands.Add(std::string(OperationName(operation)), summary, InShell | InScript);
    const auto milliseconds = command.Own<std::string>();
    command.Dash(Dashes::LongOnly).Word("MS", *milliseconds).Details(details).Example(example);
    command.Run([&command, operation, milliseconds](Context& context) {
        Call call = ParseWait(operation, *milliseconds, command.Usage());
        return context.Make(call);
    });
}

} // namespace

void AddCalls(Commands& commands) {
    AddLifecycle(commands, Operation::Init, "call Init",
                 "The adaptor learns the hardware. Shows the result; 1 is success.\n", "bmhost init");
    AddLifecycle(commands, Operation::Start, "call Start",
                 "The adaptor brings the blade into service. Use it in a script or a shell, after init.\n",
                 "printf 'init\\nstart\\nstop\\nfin\\n' | bmhost script -");
    AddLifecycle(commands, Operation::Stop, "call Stop",
                 "The adaptor stops the media software. Use it in a script or a shell, after start.\n",
                 "printf 'init\\nstart\\nstop\\nfin\\n' | bmhost script -");
    AddLifecycle(commands, Operation::Fin, "call Fin",
                 "The adaptor releases what Init made. Use it at the end of a script.\n",
                 "printf 'init\\nfin\\n' | bmhost script -");
    AddGroupCall(commands, Operation::Read, "read one row")
        .Example("bmhost read AMC_TABLE bay=9")
        .Example("bmhost read 0x30200 0x30201=9 --json");
    AddGroupCall(commands, Operation::Table, "read a whole table").Example("bmhost table HARDWARE_BOARD --json");
    AddGroupCall(commands, Operation::Write, "write values; keys before --, values after")
        .Example("bmhost write AMC_TABLE bay=3 -- run_status=4");
    AddWait(commands, Operation::Sleep, "wait", "Shows nothing.\n", "printf 'sleep 10\\n' | bmhost script -");
    AddWait(commands, Operation::WaitEvent, "show the oldest event not yet shown",
            "Waits up to that long for one, and says so when none came.\n",
            "printf 'wait-event 10\\n' | bmhost script -");
}

} // namespace bmhost
