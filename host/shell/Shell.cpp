// `bmhost shell`: calls and commands at a prompt, in one process.
#include "host/shell/Shell.h"

#include "host/commands/Options.h"
#include "host/output/Redirect.h"
#include "host/session/Script.h"
#include "host/session/Session.h"
#include "host/shell/ShellLines.h"
#include "host/words/Error.h"

#include <cstdio>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace bmhost {

bool Shell::Run(ShellLines& lines, const ShellCommand& command) {
    for (bool more = true; more;) {
        const std::optional<std::string> line = lines.Next();
        if (!line) break;
        try {
            more = Line(*line, command);
        } catch (const std::system_error&) { // nobody reads the output any more
            Close();
            throw;
        } catch (const std::exception& error) {
            m_good = false;
            fflush(stdout);
            fprintf(stderr, "bmhost: %s\n", error.what());
        }
    }
    Close();
    return m_good;
}

bool Shell::Line(const std::string& line, const ShellCommand& command) {
    const auto words = SplitWords(line);
    if (words.empty()) return true;
    if (words[0] == "quit" || words[0] == "exit") return false;
    if (words[0] == "help") {
        if (words.size() > 2) throw UsageError("help: expected help [COMMAND]");
        fprintf(stderr, "%s", HelpText(words.size() == 2 ? words[1] : "").c_str());
        return true;
    }
    bool good = false;
    if (!command(words, good)) {
        Call call = ParseCall(words);
        good = MakeCall(call);
    }
    m_good = m_good && good;
    return true;
}

bool Shell::MakeCall(Call& call) {
    if (NeedsLife(call.m_operation)) Opened();
    switch (call.m_operation) {
    case Operation::Init:
        m_open = true;
        break;
    case Operation::Start:
        m_started = true;
        break;
    case Operation::Stop:
        m_started = false;
        break;
    case Operation::Fin:
        m_open = false;
        break;
    default:
        break;
    }
    const bool good = m_session.Run(call);
    fflush(stdout);
    const bool runsTools = call.m_operation == Operation::Start || call.m_operation == Operation::Stop;
    if (runsTools && !good) {
        ShowWithheld();
    } else {
        ForgetWithheld();
    }
    return good;
}

Session& Shell::Opened() {
    if (!m_open) m_session.Lifecycle(Operation::Init);
    m_open = true;
    return m_session;
}

void Shell::Close() {
    if (m_open && m_started) m_session.Lifecycle(Operation::Stop);
    if (m_open) m_session.Lifecycle(Operation::Fin);
    m_open = m_started = false;
}

} // namespace bmhost
