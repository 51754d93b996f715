// What a command's run works with, beside its own options.
#pragma once

#include "host/commands/GlobalOptions.h"
#include "host/orders/Order.h"
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
    /// The picture for a look: the resident host's, or that of an adaptor of its own. Throws where there is none.
    virtual Picture Look();
    /// Has an order carried out, by the resident host or by an adaptor of its own. Throws UsageError where it cannot be
    /// meant.
    virtual OrderOutcome Give(const Order& order);

private:
    const GlobalOptions& m_globals;
};

/// Runs a command whose line was read, and returns whether all was right. Throws UsageError.
bool Do(const Command& command, Context& context);

/// For what needs an adaptor of its own: throws OtherHostError where a resident host has the blade.
void RefuseBesideHost(Context& context, const std::string& what);

/// What a command for people makes of a session: the text for its output, lines for standard error, which are shown
/// after it, and whether all is right.
using ForPeople = std::function<bool(Session& session, bool color, std::string& text, std::string& remarks)>;

bool RunForPeople(Context& context, const ForPeople& command);

} // namespace bmhost
