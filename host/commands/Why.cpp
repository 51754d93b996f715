// `bmhost why`: what is wrong with the blade, with cause, evidence and cure.
#include "host/views/Why.h"

#include "host/context/Context.h"
#include "host/words/Commands.h"

namespace bmhost {

void AddWhy(Commands& commands) {
    commands.Add("why", "explain what is wrong with the blade", OnCommandLine | InShell)
        .Details(
            "Each fault and each red or out-of-service LED: where it is, its cause, what shows it (log lines, readings\n"
            "with their time), and what cures it; what explains others comes first. docs/operations.md has the same\n"
            "causes and cures. With --json all of it is one line. Status 0 when nothing is wrong.\n")
        .Example("bmhost why")
        .Example("bmhost why --json")
        .Run([](Context& context) {
            return RunLook(context, {"why", WhyText, WhyIsGood});
        });
}

} // namespace bmhost
