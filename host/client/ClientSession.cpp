// The adaptor of the resident host, as a command asks it.
#include "host/client/ClientSession.h"

#include "host/client/HostOwner.h"
#include "host/client/WireRows.h"
#include "host/connect/Elsewhere.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include <algorithm>
#include <stdexcept>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* Calls = "/v1/calls";

nlohmann::json GroupCall(Operation operation, unsigned group) {
    return {{"op", OperationName(operation)}, {"group", Hex(group)}};
}

std::string ReasonIn(const HostAnswer& answer) {
    const auto error = answer.m_body.is_object() ? answer.m_body.find("error") : answer.m_body.end();
    if (answer.m_body.is_object() && error != answer.m_body.end() && error->is_object()) {
        const auto text = [&](const char* key) {
            const auto value = error->find(key);
            return value != error->end() && value->is_string() ? value->get<std::string>() : std::string();
        };
        const std::string value = text("value");
        return (value.empty() ? "" : value + ": ") + text("reason");
    }
    return "status " + std::to_string(answer.m_status);
}

} // namespace

ordered_json GoodBody(const HostAnswer& answer, const std::string& what) {
    constexpr unsigned good = 200;
    constexpr unsigned taken = 202;
    constexpr unsigned notMeant = 400;
    constexpr unsigned timeUp = 408;
    if (answer.m_status == good || answer.m_status == taken) return answer.m_body;
    const std::string reason = ReasonIn(answer);
    if (answer.m_status == notMeant) throw UsageError(reason);
    if (answer.m_status == timeUp) throw TimeUpError("the resident host: " + reason);
    throw std::runtime_error("the resident host refused `" + what + "`: " + reason);
}

ClientSession::ClientSession(HostClient& client) : m_client(client), m_events(client.End().m_place, 0) {}

int ClientSession::Lifecycle(Operation operation) {
    if (operation == Operation::Init || operation == Operation::Fin) return Success;
    if (m_client.End().m_place.m_elsewhere != nullptr) return ByOrder(operation);
    int result = 0;
    Ask({{"op", OperationName(operation)}}, result, [](const ordered_json&) {});
    return result;
}

// At the web door fewer may make calls than may give orders.
int ClientSession::ByOrder(Operation operation) {
    const std::string name(OperationName(operation));
    m_reasons.clear();
    const ordered_json outcome = GoodBody(m_client.Post("/v1/orders/" + name, ordered_json::object()), name);
    try {
        m_reasons = outcome.value("reasons", std::vector<std::string>());
        return IntegerOfWire(outcome.at("result"));
    } catch (const std::exception& error) {
        throw std::runtime_error(HostText(m_client.End()) + " sent what is no answer to `" + name +
                                 "`: " + error.what());
    }
}

std::unique_ptr<BM_ADAPTOR::CBMITable> ClientSession::Table(unsigned group, int& result) {
    std::unique_ptr<BM_ADAPTOR::CBMITable> table;
    Ask(GroupCall(Operation::Table, group), result,
        [&table](const ordered_json& line) { table = TableOfWire(line.at("rows")); });
    return table;
}

std::unique_ptr<BM_ADAPTOR::CBMIParams> ClientSession::Row(unsigned group, const BM_ADAPTOR::CBMIKeys& keys,
                                                           int& result) {
    nlohmann::json call = GroupCall(Operation::Read, group);
    call["keys"] = WireRow(keys);
    std::unique_ptr<BM_ADAPTOR::CBMIParams> row;
    Ask(call, result, [&row](const ordered_json& line) { row = RowOfWire(line.at("row")); });
    return row;
}

int ClientSession::WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) {
    nlohmann::json call = GroupCall(Operation::Write, group);
    call["keys"] = WireRow(keys);
    call["values"] = WireRow(values);
    int result = 0;
    Ask(call, result, [](const ordered_json&) {});
    return result;
}

void ClientSession::Ask(const nlohmann::json& call, int& result, const std::function<void(const ordered_json&)>& take) {
    const std::string what = call.at("op").get<std::string>() +
                             (call.contains("group") ? " " + call.at("group").get<std::string>() : std::string());
    m_reasons.clear();
    const ordered_json line = GoodBody(m_client.Post(Calls, call), what);
    try {
        const bool isOfGroup = !call.contains("group") || line.at("group") == ordered_json(call.at("group"));
        if (line.at("op") != ordered_json(call.at("op")) || !isOfGroup)
            throw std::runtime_error("the answer to another call");
        result = IntegerOfWire(line.at("result"));
        m_reasons = line.value("reasons", std::vector<std::string>());
        take(line);
    } catch (const std::exception& error) {
        throw std::runtime_error(HostText(m_client.End()) + " sent what is no answer to `" + what +
                                 "`: " + error.what());
    }
}

std::optional<AdaptorEvent> ClientSession::TakeEvent(std::chrono::milliseconds wait) {
    const auto deadline = std::chrono::steady_clock::now() + wait;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        const auto news = m_events.Next(std::max(left, std::chrono::milliseconds(0)));
        if (!news) return std::nullopt;
        if (news->m_kind != "event") continue;
        const auto line = JsonOfWire(news->m_data);
        if (!line.is_object()) throw std::runtime_error("the resident host sent an event that is no JSON");
        // The ring has events from before.
        if (line.value("time", m_begun) < m_begun) continue;
        AdaptorEvent event;
        event.m_event = NumberOfWire(line.value("event", ordered_json(nullptr)));
        event.m_number = static_cast<unsigned>(IntegerOfWire(line.value("number", ordered_json(nullptr))));
        AddWireRow(line.value("params", ordered_json(nullptr)), event.m_params);
        return event;
    }
}

} // namespace bmhost
