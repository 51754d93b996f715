// `bmhost reset board`: the baseboard reset, after a question.
#include "host/context/Context.h"
#include "host/context/GiveOrder.h"
#include "host/words/Commands.h"

namespace bmhost {

namespace {

struct ResetWords {
    bool m_yes = false;
};

} // namespace

void AddReset(Commands& commands) {
    Command& family = commands.Add("reset", "reset the baseboard", OnCommandLine | InShell);
    Command& board = family.Add("board", "reset the baseboard");
    const auto words = board.Own<ResetWords>();
    board.Flag({"--yes", "", "do not ask"}, words->m_yes)
        .Details(
            "Asks first where there is a terminal; elsewhere it needs --yes. The controller makes a cold reset: everything\n"
            "on the board ends, this host too where it runs there. The adaptor does not wait for the controller's answer.\n"
            "Status 0 when the reset was sent.\n")
        .Example("bmhost reset board --yes")
        .Run([words](Context& context) {
            return GiveConfirmed(context, "reset board", {"board-reset", nlohmann::json::object()}, BoardResetQuestion,
                                 words->m_yes);
        });
}

} // namespace bmhost
