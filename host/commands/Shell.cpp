// `bmhost shell`: the calls of a script and the commands for people at a prompt, in one process.
#include "host/shell/Shell.h"

#include "host/client/BladeLock.h"
#include "host/client/HostClient.h"
#include "host/commands/CommandList.h"
#include "host/context/CommandLine.h"
#include "host/context/Detached.h"
#include "host/context/GiveOrder.h"
#include "host/output/Output.h"
#include "host/picture/ReadPicture.h"
#include "host/session/PluginSession.h"
#include "host/session/StorageHome.h"
#include "host/shell/ShellLines.h"
#include "host/words/Completion.h"

#include "bm_dev/UniqueFd.h"

#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace bmhost {

namespace {

class ShellLine final : public Context {
public:
    ShellLine(const GlobalOptions& globals, Shell& shell, int output, std::optional<int> terminal)
        : Context(globals),
          m_shell(shell),
          m_output(output),
          m_terminal(terminal) {}

    bool Make(Call& call) override { return m_shell.Make(call); }
    bool WithSession(const Work& work) override { return work(m_shell.Opened(), m_output); }
    Source SourceNow() override { return SourceOfBlade(); }
    OrderOutcome Give(const Order& order) override {
        if (auto refused = RefusedAsSimulated(order, SourceNow())) return *refused;
        const BladeLock lock(PlaceOfHost(), ProgramOf(order));
        std::optional<TerminalIgnored> ignored;
        if (Upgrades(order)) ignored.emplace();
        return CarryOutHere(*this, order, m_shell.Opened(), m_output);
    }
    int Output() const override { return m_output; }
    std::optional<int> Terminal() const override { return m_terminal; }
    Picture Look() override {
        Picture picture = ReadPicture(m_shell.Opened(), Globals().m_mode, Globals().m_storage);
        picture.m_host.m_init = m_shell.Facts().m_init;
        picture.m_host.m_start = m_shell.Facts().m_start;
        picture.m_host.m_stop = m_shell.Facts().m_stop;
        return picture;
    }
    // Not among the lines that a program reads.
    void Answer(const std::string& text) override { fprintf(stderr, "%s", text.c_str()); }

private:
    Shell& m_shell;
    int m_output;
    std::optional<int> m_terminal;
};

/// A line for the resident host, which goes on when the shell ends.
class AskingShellLine final : public Context {
public:
    AskingShellLine(Context& asked, int output, std::optional<int> terminal)
        : Context(asked.Globals()),
          m_asked(asked),
          m_output(output),
          m_terminal(terminal) {}

    bool Make(Call& call) override { return m_asked.Make(call); }
    bool WithSession(const Work& work) override { return m_asked.WithSession(work); }
    int Output() const override { return m_output; }
    std::optional<int> Terminal() const override { return m_terminal; }
    void Answer(const std::string& text) override { fprintf(stderr, "%s", text.c_str()); }
    HostClient* Host() override { return m_asked.Host(); }
    Picture Look() override { return m_asked.Look(); }
    Source SourceNow() override { return m_asked.SourceNow(); }
    OrderOutcome Give(const Order& order) override { return m_asked.Give(order); }

private:
    Context& m_asked;
    int m_output;
    std::optional<int> m_terminal;
};

void AddQuit(Commands& commands, const std::string& name, Shell* shell) {
    commands.Add(name, "end the shell", InShell)
        .Details("So does Ctrl-D. What was started is stopped, and fin is called.\n")
        .Example("printf 'quit\\n' | bmhost shell")
        .Run([shell](Context&) {
            shell->Quit();
            return true;
        });
}

// The shell's words, and where they come from.
struct ShellWords {
    bool Run(Shell& shell, Context& context) {
        AddQuit(*m_commands, "quit", &shell);
        AddQuit(*m_commands, "exit", &shell);
        return shell.Run(*m_lines, [&](const std::vector<std::string>& words) {
            const Line line = m_commands->Read(words);
            if (line.m_command != nullptr) return Do(*line.m_command, context);
            context.Answer(line.m_answer);
            return true;
        });
    }
    std::optional<int> Terminal() const { return m_typed ? std::optional(m_terminal.Get()) : std::nullopt; }

    std::unique_ptr<Commands> m_commands = MakeCommands(InShell);
    // The lines take standard input for themselves.
    bool m_typed = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
    bm_dev::UniqueFd m_terminal{m_typed ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1};
    std::unique_ptr<ShellLines> m_lines =
        MakeShellLines({StateFile("bmhost_history"), [commands = m_commands.get()](const std::string& before) {
                            return CompleteText(*commands, before);
                        }});
};

bool RunOwnShell(const GlobalOptions& globals) {
    ShellWords words;
    const int descriptor = OutputForPeople(globals);
    const auto output = globals.m_json ? MakeJsonOutput(descriptor) : MakeTextOutput(descriptor);
    ArmEndNotice(globals);
    PluginSession session(globals.m_adaptor, globals.m_mode, globals.m_storage);
    Shell shell(session, *output);
    ShellLine context(globals, shell, descriptor, words.Terminal());
    return words.Run(shell, context);
}

// Lines are all that this shell has of its own: it opens, starts and ends nothing.
bool RunAskingShell(Context& asked) {
    ShellWords words;
    Shell shell;
    AskingShellLine context(asked, asked.Output(), words.Terminal());
    return words.Run(shell, context);
}

} // namespace

void AddShell(Commands& commands) {
    commands.Add("shell", "make calls and give commands at a prompt", OnCommandLine)
        .Details(
            "The calls of a script and the commands for people, in one process. help [COMMAND] lists or explains them,\n"
            "quit or Ctrl-D ends. On a terminal with history and completion (Tab), else plain lines without a prompt.\n"
            "init is called when a command, a read, a table or a write needs it; start is not. At the end what was\n"
            "started is stopped, and fin is called. No error ends it. Status 0 when nothing went wrong.\n"
            "Beside a resident host every line is for that one, which goes on at the end; it knows neither init nor fin.\n")
        .Example("printf 'init\\nstart\\nstatus\\n' | bmhost shell")
        .Run([](Context& context) {
            return context.Host() != nullptr ? RunAskingShell(context) : RunOwnShell(context.Globals());
        });
}

} // namespace bmhost
