// `bmhost run`: a resident host.
#include "host/resident/Run.h"

#include "host/commands/CommandLine.h"
#include "host/output/Redirect.h"
#include "host/resident/RunOutput.h"
#include "host/resident/Signals.h"
#include "host/session/PluginSession.h"
#include "host/words/Commands.h"

#include "bm/Log.h"

namespace bmhost {

namespace {

bool RunResident(const GlobalOptions& globals) {
    StopRequest stop;
    return WithSignals(stop, "stop and fin follow", [&] {
        // Who asks for traces wants to see the prints as they come, too.
        const bool prompt = globals.m_json || globals.m_logLevel == BM_LOG_ERROR;
        const int output = prompt ? PrintsToStandardError() : OutputForPeople(globals);
        const auto news = globals.m_json ? MakeRunJson(output) : MakeRunText(output);
        ArmEndNotice(globals);
        PluginSession session(globals.m_adaptor, globals.m_mode, globals.m_storage);
        return RunHost(session, *news, stop);
    });
}

} // namespace

void AddRun(Commands& commands) {
    commands.Add("run", "be a resident host until Ctrl-C or SIGTERM", OnCommandLine)
        .WithoutTimeLimit()
        .Details(
            "Calls init and start, tells events and health as they happen, one line each (with --json a JSON line), and\n"
            "calls stop and fin at SIGINT, SIGTERM or SIGHUP. bmhost lets a tool that runs come to its end first; Ctrl-C\n"
            "reaches the tool as well, as in a shell. The third signal ends bmhost at once. What the tools printed is\n"
            "shown when start or stop fails, or a fault is found. The log is not shown: --log FILE keeps it,\n"
            "--log-level 3 shows both. Ends by itself when init or start fails.\n"
            "Status 0 when every call returned 1 and no fault was found.\n")
        .Example("bmhost run")
        .Run([](Context& context) { return RunResident(context.Globals()); });
}

} // namespace bmhost
