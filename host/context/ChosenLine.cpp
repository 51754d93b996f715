// A command on the command line: a client of the resident host where there is one, with an adaptor of its own
// otherwise.
#include "host/context/ChosenLine.h"

#include "host/client/HostClient.h"
#include "host/client/HostOwner.h"
#include "host/context/ClientLine.h"
#include "host/context/CommandLine.h"
#include "host/output/Redirect.h"
#include "host/session/Program.h"
#include "host/words/Error.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

namespace bmhost {

namespace {

// What only an adaptor of its own could follow is no longer what the user means.
void CheckClientOptions(const GlobalOptions& options, const HostClient& client) {
    if (options.m_forOwnAdaptor.empty()) return;
    if (options.m_elsewhere != nullptr)
        throw UsageError(options.m_forOwnAdaptor.front() + ": " + HostText(client.End()) +
                         " has a host whose adaptor is loaded already");
    throw UsageError(options.m_forOwnAdaptor.front() + ": " + HostText(client.End().m_process) +
                     " has the adaptor; --direct loads one for this command");
}

} // namespace

Context& ChosenLine::Chosen() {
    if (m_chosen != nullptr) return *m_chosen;
    constexpr bool limited = true;
    auto client =
        Globals().m_direct ? nullptr : HostClient::ConnectAt(PlaceOf(Globals()), TimeLimit(Globals(), limited));
    if (client != nullptr) {
        CheckClientOptions(Globals(), *client);
        m_chosen = std::make_unique<ClientLine>(Globals(), std::move(client));
    } else {
        SetUpLog(Globals().m_logLevel, Globals().m_logFile);
        m_chosen = std::make_unique<CommandLine>(Globals());
    }
    return *m_chosen;
}

// Where prints of an own adaptor are withheld, standard output is another descriptor.
int ChosenLine::Output() const {
    return m_chosen != nullptr ? m_chosen->Output() : STDOUT_FILENO;
}

std::optional<int> ChosenLine::Terminal() const {
    return isatty(STDIN_FILENO) == 1 ? std::optional(STDIN_FILENO) : std::nullopt;
}

void ChosenLine::Answer(const std::string& text) {
    const nlohmann::ordered_json line = {{"op", "help"}, {"text", text}};
    WriteAll(STDOUT_FILENO, Globals().m_json ? line.dump() + "\n" : text);
}

} // namespace bmhost
