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

namespace BMHOST {

bool SHELL::Run(SHELL_LINES& a_Lines, const SHELL_COMMAND& a_Command) {
    for (bool l_More = true; l_More;) {
        const std::optional<std::string> l_Line = a_Lines.Next();
        if (!l_Line) break;
        try {
            l_More = Line(*l_Line, a_Command);
        } catch (const std::system_error&) { // nobody reads the output any more
            Close();
            throw;
        } catch (const std::exception& l_Error) {
            m_Good = false;
            fflush(stdout);
            fprintf(stderr, "bmhost: %s\n", l_Error.what());
        }
    }
    Close();
    return m_Good;
}

bool SHELL::Line(const std::string& a_Line, const SHELL_COMMAND& a_Command) {
    const auto l_Words = SplitWords(a_Line);
    if (l_Words.empty()) return true;
    if (l_Words[0] == "quit" || l_Words[0] == "exit") return false;
    if (l_Words[0] == "help") {
        if (l_Words.size() > 2) throw USAGE_ERROR("help: expected help [COMMAND]");
        fprintf(stderr, "%s", HelpText(l_Words.size() == 2 ? l_Words[1] : "").c_str());
        return true;
    }
    bool l_Good = false;
    if (!a_Command(l_Words, l_Good)) {
        CALL l_Call = ParseCall(l_Words);
        l_Good = Call(l_Call);
    }
    m_Good = m_Good && l_Good;
    return true;
}

bool SHELL::Call(CALL& a_Call) {
    if (NeedsLife(a_Call.m_Operation)) Opened();
    switch (a_Call.m_Operation) {
    case OPERATION::Init:
        m_Open = true;
        break;
    case OPERATION::Start:
        m_Started = true;
        break;
    case OPERATION::Stop:
        m_Started = false;
        break;
    case OPERATION::Fin:
        m_Open = false;
        break;
    default:
        break;
    }
    const bool l_Good = m_Session.Run(a_Call);
    fflush(stdout);
    const bool l_RunsTools = a_Call.m_Operation == OPERATION::Start || a_Call.m_Operation == OPERATION::Stop;
    if (l_RunsTools && !l_Good) {
        ShowWithheld();
    } else {
        ForgetWithheld();
    }
    return l_Good;
}

SESSION& SHELL::Opened() {
    if (!m_Open) m_Session.Lifecycle(OPERATION::Init);
    m_Open = true;
    return m_Session;
}

void SHELL::Close() {
    if (m_Open && m_Started) m_Session.Lifecycle(OPERATION::Stop);
    if (m_Open) m_Session.Lifecycle(OPERATION::Fin);
    m_Open = m_Started = false;
}

} // namespace BMHOST
