// bmhost: the reference host command.
#include "host/commands/CommandList.h"
#include "host/context/ChosenLine.h"
#include "host/session/Program.h"
#include "host/words/Error.h"

#include <string>
#include <vector>

namespace {

using namespace bmhost;

int Run(const std::vector<std::string>& words) {
    GlobalOptions options;
    const auto commands = MakeCommands(OnCommandLine);
    AddGlobalOptions(commands->Root(), options);
    const Line line = commands->Read(words);
    NoteGiven(commands->Root(), line.m_command, options);
    ChosenLine context(options);
    if (line.m_command == nullptr) {
        context.Answer(line.m_answer);
        return ExitAllOk;
    }
    TakeElsewhere(*line.m_command, options);
    try {
        const bool good = Do(*line.m_command, context);
        return context.Ending().value_or(good ? ExitAllOk : ExitSomeFailed);
    } catch (const TimeUpError& error) {
        throw TimeUpError("`bmhost " + line.m_command->Path() + "`: " + error.what());
    }
}

} // namespace

int main(int argc, char** argv) {
    return RunProgram([&] { return Run({argv + 1, argv + argc}); });
}
