// `bmhost script`: calls from a file or from standard input, one a line, in one process.
#include "host/session/Script.h"

#include "host/commands/CommandList.h"
#include "host/context/CommandLine.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/picture/ReadPicture.h"
#include "host/session/PluginSession.h"

#include <unistd.h>

namespace bmhost {

namespace {

class ScriptLine final : public Context {
public:
    ScriptLine(const GlobalOptions& globals, Session& session, bmhost::Output& output)
        : Context(globals),
          m_session(session),
          m_output(output) {}

    bool Make(Call& call) override { return MakeCall(m_session, call, m_output); }
    bool WithSession(const Work& work) override { return work(m_session, Output()); }
    Picture Look() override { return ReadPicture(m_session, Globals().m_mode, Globals().m_storage); }
    int Output() const override { return STDOUT_FILENO; }
    void Answer(const std::string& text) override { WriteAll(Output(), text); }

private:
    Session& m_session;
    bmhost::Output& m_output;
};

bool RunScript(const std::string& file, const GlobalOptions& globals) {
    Script script(file); // one that is not there is found before the adaptor is touched
    const auto lines = MakeCommands(InScript);
    const auto output = globals.m_json ? MakeJsonOutput(PrintsToStandardError()) : MakeTextOutput(STDOUT_FILENO);
    ArmEndNotice(globals);
    PluginSession session(globals.m_adaptor, globals.m_mode, globals.m_storage);
    ScriptLine context(globals, session, *output);
    return script.Run(
        [&](const std::vector<std::string>& words) { return Do(*lines->Read(words).m_command, context); });
}

} // namespace

void AddScript(Commands& commands) {
    Command& command =
        commands.Add("script", "make the calls of a file, or of standard input, in one process", OnCommandLine);
    const auto file = command.Own<std::string>();
    command.Dash(Dashes::LongOnly)
        .Word("FILE|-", *file, Choices::Kind::File)
        .Details(
            "One call a line: init, start, stop, fin, read ..., table ..., write ... as on the command line (bmhost read "
            "--help\nexplains GROUP, ID and VALUE), `sleep MS`, and `wait-event MS`, which shows the next event, or says "
            "that none\ncame. '#' begins a comment; '…' or \"…\" keep blanks in a value. A line that cannot be "
            "understood ends the script\nwith status 2. A call that does not return 1 does not end it.\n")
        .Example("printf 'init\\ntable HARDWARE_BOARD\\nfin\\n' | bmhost script -")
        .Run([file](Context& context) {
            RefuseBesideHost(context, "script");
            return RunScript(*file, context.Globals());
        });
}

} // namespace bmhost
