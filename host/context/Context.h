// What a command's run works with, beside its own options.
#pragma once

#include "host/context/GlobalOptions.h"
#include "host/orders/Order.h"
#include "host/output/Style.h"
#include "host/picture/Picture.h"

#include <functional>
#include <optional>
#include <string>

namespace bmhost {

class Command;
class HostClient;
class Session;
struct Call;

/// The command line, a script and a shell have one each.
class Context {
public:
    /// Work on a session that is between init and fin.
    /// @param output  the descriptor for the command's own output
    using Work = std::function<bool(Session& session, int output)>;

    explicit Context(const GlobalOptions& globals) : m_globals(globals) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    virtual ~Context() = default;

    const GlobalOptions& Globals() const { return m_globals; }

    /// Makes a call and shows what it gave. True when it returned 1.
    virtual bool Make(Call& call) = 0;
    virtual bool WithSession(const Work& work) = 0;
    /// The blade as it is, for a command that only looks and changes nothing: as the resident host has it, or as an
    /// adaptor of its own reads it.
    virtual Picture Look() = 0;
    /// Where the data come from, for what has to be known before an order is given.
    virtual Source SourceNow() { return {}; }
    /// The program's status when the command's own result does not say enough; a shell goes on.
    virtual void EndWith(int status) { m_ending = status; }
    std::optional<int> Ending() const { return m_ending; }
    /// The descriptor for a command that needs no session.
    virtual int Output() const = 0;
    /// Shows a help.
    virtual void Answer(const std::string& text) = 0;
    /// The terminal at which somebody types the commands, if anybody does: a question is answered there.
    virtual std::optional<int> Terminal() const { return std::nullopt; }
    /// Whether a command that must not be cut off takes the process's signals itself.
    virtual bool TakesSignals() const { return false; }

    /// The resident host that this context's commands ask, or null: they have an adaptor of their own. Valid as long as
    /// the context.
    virtual HostClient* Host() { return nullptr; }
    /// Has an order carried out, by the resident host or by an adaptor of its own. Throws UsageError where it cannot be
    /// meant.
    virtual OrderOutcome Give(const Order& order);

private:
    const GlobalOptions& m_globals;
    std::optional<int> m_ending;
};

/// Runs a command whose line was read, and returns whether all was right. Throws UsageError.
bool Do(const Command& command, Context& context);

/// From now on SIGINT and SIGTERM end a command that follows something, which then has done what it should.
void EndWithGoodStatusAtSignals();

/// For what needs an adaptor of its own: throws OtherHostError where a resident host has the blade.
void RefuseBesideHost(Context& context, const std::string& what);

/// What a command for people makes of a session: the text for its output, lines for standard error, which are shown
/// after it, and whether all is right.
using ForPeople = std::function<bool(Session& session, bool color, std::string& text, std::string& remarks)>;

bool RunForPeople(Context& context, const ForPeople& command);

/// A command that shows part of the picture.
struct View {
    const char* m_operation; ///< its name in JSON
    std::string (*m_text)(const Picture& picture, const Style& style);
    bool (*m_isGood)(const Picture& picture);
    std::string (*m_remarks)(const Picture& picture) = nullptr; ///< whole lines for standard error
};

/// Shows it as text or JSON. A simulated inventory is told on standard error, and ends the program with status 4 unless
/// it was asked for.
bool RunLook(Context& context, const View& view);

} // namespace bmhost
