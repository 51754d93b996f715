// The shell's prompt on a terminal, by libedit.
#include "host/shell/ShellPrompt.h"

#include "host/commands/Options.h"

#include <histedit.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>

namespace BMHOST {

namespace {

constexpr int HISTORY_LINES = 1000;

const char* Prompt(EditLine*) {
    return "bmhost> ";
}

// All that the possible words have in common is entered; where that is nothing new, they are listed.
unsigned char Complete(EditLine* a_Edit, int) {
    const LineInfo* const l_Line = el_line(a_Edit);
    const std::string l_Before(l_Line->buffer, l_Line->cursor);
    const auto l_Words = ShellCompletions(l_Before);
    if (l_Words.empty()) return CC_ERROR;
    std::string l_Common = l_Words[0];
    for (const std::string& l_Word : l_Words) {
        while (!l_Word.starts_with(l_Common))
            l_Common.pop_back();
    }
    const std::size_t l_Typed = l_Before.size() - (l_Before.find_last_of(" \t") + 1);
    const bool l_Whole = l_Words.size() == 1 && !l_Common.ends_with('=');
    const std::string l_New = l_Common.substr(l_Typed) + (l_Whole ? " " : "");
    if (!l_New.empty()) return el_insertstr(a_Edit, l_New.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    fputc('\n', stderr);
    for (const std::string& l_Word : l_Words)
        fprintf(stderr, "%s  ", l_Word.c_str());
    fputc('\n', stderr);
    return CC_REDISPLAY;
}

// An interrupt that does not come from the keyboard drops the line too; while a call runs it ends the process as
// everywhere.
class INTERRUPTIBLE {
public:
    INTERRUPTIBLE() {
        struct sigaction l_Interrupt = {};
        l_Interrupt.sa_handler = [](int) {}; // without SA_RESTART: the reading ends
        sigaction(SIGINT, &l_Interrupt, &m_Before);
    }
    INTERRUPTIBLE(const INTERRUPTIBLE&) = delete;
    INTERRUPTIBLE& operator=(const INTERRUPTIBLE&) = delete;
    ~INTERRUPTIBLE() { sigaction(SIGINT, &m_Before, nullptr); }

private:
    struct sigaction m_Before {};
};

class SHELL_PROMPT final : public SHELL_LINES {
public:
    explicit SHELL_PROMPT(std::FILE* a_Terminal)
        : m_Terminal(a_Terminal),
          m_History(history_init()),
          m_HistoryFile(StateFile("bmhost_history")) {
        setlocale(LC_CTYPE, ""); // what is typed may be more than ASCII
        m_Edit = el_init("bmhost", m_Terminal, stderr, stderr);
        HistEvent l_Event{};
        history(m_History, &l_Event, H_SETSIZE, HISTORY_LINES);
        history(m_History, &l_Event, H_SETUNIQUE, 1);
        history(m_History, &l_Event, H_LOAD, m_HistoryFile.c_str());
        el_set(m_Edit, EL_PROMPT, Prompt);
        el_set(m_Edit, EL_EDITOR, "emacs");
        el_set(m_Edit, EL_HIST, history, m_History);
        el_set(m_Edit, EL_ADDFN, "bmhost-complete", "Complete the word", Complete);
        el_set(m_Edit, EL_BIND, "^I", "bmhost-complete", nullptr);
        el_set(m_Edit, EL_CLIENTDATA, this);
        el_set(m_Edit, EL_ADDFN, "bmhost-drop", "Drop the line", s_Drop);
        el_set(m_Edit, EL_BIND, "^C", "bmhost-drop", nullptr);
    }
    SHELL_PROMPT(const SHELL_PROMPT&) = delete;
    SHELL_PROMPT& operator=(const SHELL_PROMPT&) = delete;
    ~SHELL_PROMPT() override {
        HistEvent l_Event{};
        history(m_History, &l_Event, H_SAVE, m_HistoryFile.c_str());
        el_end(m_Edit);
        history_end(m_History);
        std::fclose(m_Terminal);
    }

    std::optional<std::string> Next() override {
        const INTERRUPTIBLE l_Interruptible;
        for (;;) {
            int l_Count = 0;
            PrepareTerminal();
            m_Dropped = false;
            errno = 0;
            const char* const l_Text = el_gets(m_Edit, &l_Count);
            if (l_Text != nullptr && l_Count > 0 && !m_Dropped) return Remembered(l_Text);
            fputc('\n', stderr);
            if (errno != EINTR && !m_Dropped) return std::nullopt;
            el_reset(m_Edit);
        }
    }

private:
    // Before the prompt is there: a Ctrl-D that comes between the two would be lost in the terminal's own line. Ctrl-C
    // is a key like others until the line is read: as a signal it would be lost whenever it finds nobody reading.
    void PrepareTerminal() {
        el_set(m_Edit, EL_PREP_TERM, 1);
        termios l_Mode{};
        if (tcgetattr(fileno(m_Terminal), &l_Mode) != 0) return;
        l_Mode.c_cc[VINTR] = _POSIX_VDISABLE;
        tcsetattr(fileno(m_Terminal), TCSADRAIN, &l_Mode);
    }

    static unsigned char s_Drop(EditLine* a_Edit, int) {
        SHELL_PROMPT* l_Self = nullptr;
        el_get(a_Edit, EL_CLIENTDATA, &l_Self);
        l_Self->m_Dropped = true;
        return CC_NEWLINE;
    }

    std::string Remembered(std::string a_Line) {
        a_Line.erase(a_Line.find_last_not_of("\r\n") + 1);
        HistEvent l_Event{};
        if (!a_Line.empty()) history(m_History, &l_Event, H_ENTER, a_Line.c_str());
        return a_Line;
    }

    std::FILE* m_Terminal;
    History* m_History;
    std::string m_HistoryFile;
    EditLine* m_Edit = nullptr;
    bool m_Dropped = false;
};

} // namespace

std::unique_ptr<SHELL_LINES> MakeShellPrompt(std::FILE* a_Terminal) {
    return std::make_unique<SHELL_PROMPT>(a_Terminal);
}

} // namespace BMHOST
