// The shell's prompt on a terminal, by libedit.
#include "host/shell/ShellPrompt.h"

#include <histedit.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <utility>

namespace bmhost {

namespace {

constexpr int HistoryLines = 1000;

const char* Prompt(EditLine*) {
    return "bmhost> ";
}

// An interrupt that does not come from the keyboard drops the line too; while a call runs it ends the process as
// everywhere.
class Interruptible {
public:
    Interruptible() {
        struct sigaction interrupt = {};
        interrupt.sa_handler = [](int) {}; // without SA_RESTART: the reading ends
        sigaction(SIGINT, &interrupt, &m_before);
    }
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible() { sigaction(SIGINT, &m_before, nullptr); }

private:
    struct sigaction m_before {};
};

/// A link could lead to another file, and a pipe would hold up the prompt. The library makes a new file for its owner
/// only.
bool MayKeep(const std::string& file) {
    struct stat state {};
    if (lstat(file.c_str(), &state) != 0) return errno == ENOENT;
    return S_ISREG(state.st_mode) && state.st_nlink == 1;
}

class ShellPrompt final : public ShellLines {
public:
    ShellPrompt(std::FILE* terminal, PromptHelp help)
        : m_terminal(terminal),
          m_history(history_init()),
          m_help(std::move(help)) {
        setlocale(LC_CTYPE, ""); // what is typed may be more than ASCII
        m_edit = el_init("bmhost", m_terminal, stderr, stderr);
        HistEvent event{};
        history(m_history, &event, H_SETSIZE, HistoryLines);
        history(m_history, &event, H_SETUNIQUE, 1);
        if (MayKeep(m_help.m_historyFile)) history(m_history, &event, H_LOAD, m_help.m_historyFile.c_str());
        el_set(m_edit, EL_PROMPT, Prompt);
        el_set(m_edit, EL_EDITOR, "emacs");
        el_set(m_edit, EL_HIST, history, m_history);
        el_set(m_edit, EL_ADDFN, "bmhost-complete", "Complete the word", Complete);
        el_set(m_edit, EL_BIND, "^I", "bmhost-complete", nullptr);
        el_set(m_edit, EL_CLIENTDATA, this);
        el_set(m_edit, EL_ADDFN, "bmhost-drop", "Drop the line", Drop);
        el_set(m_edit, EL_BIND, "^C", "bmhost-drop", nullptr);
    }
    ShellPrompt(const ShellPrompt&) = delete;
    ShellPrompt& operator=(const ShellPrompt&) = delete;
    ~ShellPrompt() override {
        HistEvent event{};
        if (MayKeep(m_help.m_historyFile)) history(m_history, &event, H_SAVE, m_help.m_historyFile.c_str());
        el_end(m_edit);
        history_end(m_history);
        std::fclose(m_terminal);
    }

    std::optional<std::string> Next() override {
        const Interruptible interruptible;
        for (;;) {
            int count = 0;
            PrepareTerminal();
            m_dropped = false;
            errno = 0;
            const char* const text = el_gets(m_edit, &count);
            if (text != nullptr && count > 0 && !m_dropped) return Remembered(text);
            fputc('\n', stderr);
            if (errno != EINTR && !m_dropped) return std::nullopt;
            el_reset(m_edit);
        }
    }

private:
    // Before the prompt appears: a Ctrl-D between the two would be lost in the terminal's own line. Ctrl-C is an
    // ordinary key until the line has been read: as a signal it would be lost whenever nobody is reading.
    void PrepareTerminal() {
        el_set(m_edit, EL_PREP_TERM, 1);
        termios mode{};
        if (tcgetattr(fileno(m_terminal), &mode) != 0) return;
        mode.c_cc[VINTR] = _POSIX_VDISABLE;
        tcsetattr(fileno(m_terminal), TCSADRAIN, &mode);
    }

    static ShellPrompt& Self(EditLine* edit) {
        ShellPrompt* self = nullptr;
        el_get(edit, EL_CLIENTDATA, &self);
        return *self;
    }

    static unsigned char Drop(EditLine* edit, int) {
        Self(edit).m_dropped = true;
        return CC_NEWLINE;
    }

    // All that the possible words have in common is entered; where that is nothing new, they are listed.
    static unsigned char Complete(EditLine* edit, int) {
        const LineInfo* const line = el_line(edit);
        const std::string before(line->buffer, line->cursor);
        const auto words = Self(edit).m_help.m_completions(before);
        if (words.empty()) return CC_ERROR;
        std::string common = words[0];
        for (const std::string& word : words) {
            while (!word.starts_with(common))
                common.pop_back();
        }
        const std::size_t typed = before.size() - (before.find_last_of(" \t") + 1);
        const bool whole = words.size() == 1 && !common.ends_with('=');
        const std::string addition = common.substr(typed) + (whole ? " " : "");
        if (!addition.empty()) return el_insertstr(edit, addition.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
        fputc('\n', stderr);
        for (const std::string& word : words)
            fprintf(stderr, "%s  ", word.c_str());
        fputc('\n', stderr);
        return CC_REDISPLAY;
    }

    std::string Remembered(std::string line) {
        line.erase(line.find_last_not_of("\r\n") + 1);
        HistEvent event{};
        if (!line.empty()) history(m_history, &event, H_ENTER, line.c_str());
        return line;
    }

    std::FILE* m_terminal;
    History* m_history;
    PromptHelp m_help;
    EditLine* m_edit = nullptr;
    bool m_dropped = false;
};

} // namespace

std::unique_ptr<ShellLines> MakeShellPrompt(std::FILE* terminal, PromptHelp help) {
    return std::make_unique<ShellPrompt>(terminal, std::move(help));
}

} // namespace bmhost
