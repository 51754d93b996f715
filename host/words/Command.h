// One command as it is registered: its words, options, help, completion and run.
#pragma once

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// NOLINTNEXTLINE(readability-identifier-naming): the library's own name
namespace CLI {
class App;
class Option;
} // namespace CLI

namespace bmhost {

class Context;

/// Where a line stands. A command may be known in several of these places.
enum Place : unsigned { OnCommandLine = 1, InShell = 2, InScript = 4 };

/// What a word may be, for completion. A shell completes files and folders itself.
struct Choices {
    enum class Kind { Words, File, Folder };

    Choices() = default;
    Choices(std::initializer_list<const char*> words) : m_words(words.begin(), words.end()) {}
    // NOLINTNEXTLINE(google-explicit-constructor): a list of words is what it is
    Choices(std::vector<std::string> words) : m_words(std::move(words)) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    Choices(Kind kind) : m_kind(kind) {}

    Kind m_kind = Kind::Words;
    std::vector<std::string> m_words;
    /// Instead of m_words, where they depend on the command's earlier words.
    std::function<std::vector<std::string>(const std::vector<std::string>& earlier)> m_after;
};

/// An option as its help shows it.
struct OptionText {
    const char* m_name;  ///< "--color"
    const char* m_value; ///< what its value is called; "" for a flag
    const char* m_help;
    Choices m_choices{};
    bool m_required = false;
    bool m_withLast = false; ///< it goes with the option before it: both or none
};

/// How words that begin with '-' are read.
enum class Dashes {
    AreOptions, ///< before "--"
    LongOnly,   ///< an option begins with "--", and is one after "--" as well; all else is a word, "--" itself too
    AreWords
};

class Command {
public:
    /// A number that an option takes is one of these.
    struct Range {
        int m_first = std::numeric_limits<int>::min();
        int m_last = std::numeric_limits<int>::max();
    };

    /// @param isShellsOwn  its help does not speak of the program and its options
    Command(CLI::App& app, const Command* family, bool isShellsOwn)
        : m_app(app),
          m_family(family),
          m_isShellsOwn(isShellsOwn) {}
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// A command of this one's family: "set" of "led".
    Command& Add(const std::string& name, const std::string& summary) { return Add(name, summary, m_isShellsOwn); }
    Command& Add(const std::string& name, const std::string& summary, bool isShellsOwn);
    /// What the help says below the summary, in whole lines.
    Command& Details(const std::string& text);
    /// A command line that works on the typical or the full blade.
    Command& Example(const std::string& line);
    /// In place of the usage that the words and options make.
    Command& Usage(const std::string& words);
    /// It ends when somebody ends it, or takes as long as it takes: no time limit but one that was given.
    Command& WithoutTimeLimit();
    /// It is for the machine that it runs on, and asks no blade elsewhere.
    Command& OnlyHere();
    Command& Dash(Dashes dashes);

    /// The next word. It is required.
    Command& Word(const std::string& name, std::string& value, Choices choices = {});
    /// All words that follow.
    /// @param usage  how the usage shows them: "[ID=VALUE ...]"
    Command& Words(const std::string& usage, std::vector<std::string>& values, Choices choices = {});
    Command& Option(const OptionText& text, std::string& value);
    Command& Option(const OptionText& text, std::optional<std::string>& value);
    Command& Option(const OptionText& text, int& value, Range range);
    Command& Option(const OptionText& text, std::optional<int>& value, Range range);
    Command& Option(const OptionText& text, std::optional<double>& value);
    Command& Flag(const OptionText& text, bool& value);
    /// A flag that is CLI11's own: --help, --version.
    Command& KnownFlag(const char* name);
    /// Where words and options go; as it was made, for each line that is read.
    template <typename Values>
    std::shared_ptr<Values> Own() {
        auto values = std::make_shared<Values>();
        BeforeEachLine([values] { *values = Values{}; });
        return values;
    }

    /// What it does, and whether all was right. Throws UsageError, before it asks the adaptor for anything, where words
    /// cannot be meant.
    using Runner = std::function<bool(Context&)>;
    Command& Run(Runner runner);

    struct KnownOption {
        std::string m_name;
        std::string m_value;
        Choices m_choices{};
        const CLI::Option* m_option = nullptr;
    };

    std::string Name() const;
    /// With its family's name: "led set".
    std::string Path() const;
    std::string Summary() const;
    /// "led set BAY LED ACTION [--color C]".
    std::string Usage() const;
    /// The same without what may be left out, and with "..." where that is something.
    std::string ShortUsage() const;
    /// Its own, when it runs something, and those of its members.
    std::vector<std::string> Usages() const;
    /// The same in one line: "dsp, or dsp set-ip N ADDRESS".
    std::string Forms() const;
    std::string Help() const;
    bool Lasts() const { return m_lasts; }
    bool IsOnlyHere() const { return m_onlyHere; }
    Dashes HowDashesAreRead() const { return m_dashes; }
    const Runner& Runs() const { return m_run; }
    const std::vector<std::unique_ptr<Command>>& Members() const { return m_members; }
    const Command* Find(std::string_view name) const;
    const std::vector<KnownOption>& Options() const { return m_options; }
    /// The option of that name, "--color" or "--color=red".
    const KnownOption* FindOption(std::string_view word) const;
    /// What the word of this number may be.
    const Choices& ChoicesOf(std::size_t word) const;
    CLI::App& App() const { return m_app; }

private:
    struct UsagePart {
        std::string m_text;
        bool m_optional = false;
    };

    void BeforeEachLine(std::function<void()> reset);
    Command& Known(const OptionText& text, CLI::Option& option);
    std::string HelpBody(const std::string& title) const;

    CLI::App& m_app;
    const Command* m_family;
    bool m_isShellsOwn;
    std::vector<std::unique_ptr<Command>> m_members;
    std::vector<UsagePart> m_usage;
    std::vector<KnownOption> m_options;
    std::vector<Choices> m_words;
    bool m_lastWordRepeats = false;
    std::string m_details;
    std::vector<std::string> m_examples;
    bool m_lasts = false;
    bool m_onlyHere = false;
    Dashes m_dashes = Dashes::AreOptions;
    Runner m_run;
};

} // namespace bmhost
