// `bmhost run`: a resident host, which is a program of its own.
#include "host/context/Context.h"
#include "host/context/OtherProgram.h"
#include "host/session/StorageHome.h"
#include "host/words/Commands.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bmhost {

namespace {

struct RunWords {
    std::string m_config;
    std::string m_state;
    std::optional<int> m_sweep;
    bool m_noStart = false;
    bool m_exitOnFault = false;
    bool m_restartOnFault = false;
};

// What was not given is left to the host's configuration file.
std::vector<std::string> HostWords(const GlobalOptions& globals, const RunWords& own) {
    const GlobalOptions defaults = [] {
        GlobalOptions options;
        options.m_storage = StorageHome();
        return options;
    }();
    std::vector<std::string> words;
    const auto add = [&words](const char* option, const std::string& value, const std::string& usual) {
        if (value != usual) words.insert(words.end(), {option, value});
    };
    add("--adaptor", globals.m_adaptor, defaults.m_adaptor);
    add("--mode", std::to_string(globals.m_mode), std::to_string(defaults.m_mode));
    add("--log-level", std::to_string(globals.m_logLevel), std::to_string(defaults.m_logLevel));
    add("--log", globals.m_logFile, defaults.m_logFile);
    add("--storage", globals.m_storage, defaults.m_storage);
    add("--notice-after", std::to_string(globals.m_noticeAfter), std::to_string(defaults.m_noticeAfter));
    add("--config", own.m_config, "");
    add("--state", own.m_state, "");
    if (own.m_sweep) add("--sweep", std::to_string(*own.m_sweep), "");
    for (const auto& [option, given] : {std::pair{"--json", globals.m_json},
                                        {"--no-start", own.m_noStart},
                                        {"--exit-on-fault", own.m_exitOnFault},
                                        {"--restart-on-fault", own.m_restartOnFault}}) {
        if (given) words.emplace_back(option);
    }
    return words;
}

} // namespace

void AddRun(Commands& commands) {
    Command& run = commands.Add("run", "be the resident host until Ctrl-C or SIGTERM", OnCommandLine);
    const auto words = run.Own<RunWords>();
    run.WithoutTimeLimit()
        .OnlyHere()
        .Option({"--config", "FILE", "the host's configuration file", Choices::Kind::File}, words->m_config)
        .Option({"--state", "DIR", "the folder of the history of upgrades", Choices::Kind::Folder}, words->m_state)
        .Option({"--sweep", "S", "seconds in which every LED is read once; default 30"}, words->m_sweep, {0, 86400})
        .Flag({"--no-start", "", "init only: `bmhost start` starts the blade"}, words->m_noStart)
        .Flag({"--exit-on-fault", "", "end when init or start does not return 1, or a fault is found"},
              words->m_exitOnFault)
        .Flag({"--restart-on-fault", "", "stop and start after a fault, which interrupts all calls"},
              words->m_restartOnFault)
        .Details(
            "Calls init and start, tells events and health as they happen, one line each (with --json a JSON line), and\n"
            "answers the other commands of bmhost, before init has returned and when init or start fails. Calls stop and\n"
            "fin at SIGINT or SIGTERM, once an upgrade has ended; SIGHUP reads the configuration again. bmhost lets a\n"
            "tool that runs come to its end first; Ctrl-C reaches the tool as well, as in a shell. The second signal does\n"
            "not wait for an upgrade, the third ends bmhost at once. What the tools printed is shown when start or stop\n"
            "fails, or a fault is found. The log is not shown: --log FILE keeps it, --log-level 3 shows both.\n"
            "Status 0 when the last init, start, stop and fin returned 1 and no fault stands; 6 when another host has\n"
            "the blade.\n")
        .Example("bmhost run")
        .Run([words](Context& context) -> bool { BecomeProgram("bmhostd", HostWords(context.Globals(), *words)); });
}

} // namespace bmhost
