// `bmhost shell`: calls and commands at a prompt, in one process.
#include "host/shell/Shell.h"

#include "host/output/Redirect.h"
#include "host/session/Script.h"
#include "host/session/Session.h"
#include "host/shell/ShellLines.h"

#include <cstdio>
#include <optional>
#include <system_error>

namespace bmhost {

bool Shell::Run(ShellLines& lines, const ShellCommand& command) {
    while (m_more) {
        const std::optional<std::string> line = lines.Next();
        if (!line) break;
        try {
            const auto words = SplitWords(*line);
            if (!words.empty()) m_good = command(words) && m_good;
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

bool Shell::Make(Call& call) {
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
    const MadeCall made = MakeAndShow(*m_session, call, *m_output);
    TellReasons(call, made);
    Keep(call, made);
    const bool good = made.m_result == Success;
    fflush(stdout);
    const bool runsTools = call.m_operation == Operation::Start || call.m_operation == Operation::Stop;
    if (runsTools && !good) {
        ShowWithheld();
    } else {
        ForgetWithheld();
    }
    return good;
}

void Shell::Keep(const Call& call, const MadeCall& made) {
    const CallOutcome outcome{std::string(OperationName(call.m_operation)), made.m_result, WallNow(), made.m_reasons};
    switch (call.m_operation) {
    case Operation::Init:
        m_facts.m_init = outcome;
        break;
    case Operation::Start:
        m_facts.m_start = outcome;
        m_facts.m_stop.reset();
        break;
    case Operation::Stop:
        m_facts.m_stop = outcome;
        m_facts.m_start.reset();
        break;
    default:
        break;
    }
}

Session& Shell::Opened() {
    if (!m_open) m_session->Lifecycle(Operation::Init);
    m_open = true;
    return *m_session;
}

void Shell::Close() {
    if (m_open && m_started) m_session->Lifecycle(Operation::Stop);
    if (m_open) m_session->Lifecycle(Operation::Fin);
    m_open = m_started = false;
}

} // namespace bmhost
