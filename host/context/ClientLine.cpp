// A command on the command line that asks the resident host.
#include "host/context/ClientLine.h"

#include "host/context/GiveOrder.h"
#include "host/context/HostUpgrade.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/picture/PictureJson.h"
#include "host/words/Call.h"

#include <unistd.h>

namespace bmhost {

ClientLine::ClientLine(const GlobalOptions& globals, std::unique_ptr<HostClient> client)
    : Context(globals),
      m_client(std::move(client)),
      m_session(*m_client) {}

bool ClientLine::Make(Call& call) {
    if (call.m_operation == Operation::Init || call.m_operation == Operation::Fin)
        RefuseBesideHost(*this, std::string(OperationName(call.m_operation)));
    const auto output = Globals().m_json ? MakeJsonOutput(STDOUT_FILENO) : MakeTextOutput(STDOUT_FILENO);
    return MakeCall(m_session, call, *output);
}

bool ClientLine::WithSession(const Work& work) {
    return work(m_session, STDOUT_FILENO);
}

int ClientLine::Output() const {
    return STDOUT_FILENO;
}

void ClientLine::Answer(const std::string& text) {
    WriteAll(STDOUT_FILENO, text);
}

Picture ClientLine::Look() {
    return PictureOf(GoodBody(m_client->Get("/v1/blade"), "GET /v1/blade"));
}

OrderOutcome ClientLine::Give(const Order& order) {
    if (Upgrades(order)) return UpgradeByHost(*m_client, *this, order);
    const HostAnswer answer = m_client->Post("/v1/orders/" + order.m_name, order.m_values);
    return OrderOutcomeOf(GoodBody(answer, order.m_name));
}

std::optional<int> ClientLine::Terminal() const {
    return isatty(STDIN_FILENO) == 1 ? std::optional(STDIN_FILENO) : std::nullopt;
}

} // namespace bmhost
