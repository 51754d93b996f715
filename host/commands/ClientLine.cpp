// A command on the command line that asks the resident host.
#include "host/commands/ClientLine.h"

#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/picture/PictureJson.h"
#include "host/words/Call.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
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
    return OutcomeOf(GoodBody(m_client->Post("/v1/orders/" + order.m_name, order.m_values), order.m_name));
}

OrderOutcome OutcomeOf(const nlohmann::ordered_json& json) {
    try {
        OrderOutcome outcome;
        outcome.m_result = json.at("result").get<int32_t>();
        outcome.m_good = json.at("good").get<bool>();
        outcome.m_changed = json.at("changed").get<bool>();
        outcome.m_text = json.value("text", "");
        outcome.m_remarks = json.value("remarks", std::vector<std::string>{});
        outcome.m_reasons = json.value("reasons", std::vector<std::string>{});
        outcome.m_cure = json.value("cure", "");
        outcome.m_values = nlohmann::ordered_json::object();
        for (const auto& [key, value] : json.items()) {
            constexpr std::string_view own[] = {"order", "result",  "good",    "changed",
                                                "text",  "remarks", "reasons", "cure"};
            if (std::find(std::begin(own), std::end(own), key) == std::end(own)) outcome.m_values[key] = value;
        }
        return outcome;
    } catch (const nlohmann::json::exception& error) {
        throw std::runtime_error(std::string("the resident host sent what is no order's outcome: ") + error.what());
    }
}

} // namespace bmhost
