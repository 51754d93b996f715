// The API of the resident host's socket: its paths, orders and calls, the rows of calls as JSON, the stream of events.
// An input is three letters (what it is, of which blade, what the host answers), then a request or the JSON of a row.
#include "support/AskService.h"
#include "support/Require.h"
#include "support/ScriptedResident.h"

#include "host/api/CallJson.h"
#include "host/client/ServerEvents.h"
#include "host/client/WireRows.h"
#include "host/output/JsonOutput.h"
#include "host/words/Names.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

using namespace fuzzing;
using nlohmann::json;
using nlohmann::ordered_json;

namespace {

bmhost::ApiLimits LimitsOfApi() {
    bmhost::ApiLimits limits;
    limits.m_imageSize = 2048;
    limits.m_imageFolder = "/dev/shm";
    return limits;
}

json JsonOfCall(const bmhost::Call& call) {
    json made = {{"op", bmhost::OperationName(call.m_operation)}};
    if (!bmhost::NeedsLife(call.m_operation)) return made;
    made["group"] = call.m_group;
    made["keys"] = bmhost::WireRow(call.m_keys);
    if (call.m_operation == bmhost::Operation::Write) made["values"] = bmhost::WireRow(call.m_values);
    return made;
}

// A client that sends the call as it was read asks the same.
void CheckCall(const bmhost::Call& call) {
    const json sent = JsonOfCall(call);
    const json again = JsonOfCall(bmhost::CallOf(bmhost::JsonOf(sent.dump())));
    Require(sent == again, "a call is read as another one: " + sent.dump() + " and " + again.dump());
}

// Each event once, in order, by what the client makes of the stream.
void CheckEvents(const std::string& stream) {
    bmhost::EventLines lines;
    lines.Take(stream);
    uint64_t last = 0;
    while (const auto event = lines.Next()) {
        Require(event->m_id > last || event->m_kind == "lost", "an event comes after a later one");
        Require(!event->m_kind.empty() && !json::parse(event->m_data, nullptr, false).is_discarded(),
                "an event without its data");
        last = event->m_id;
    }
}

void AskApi(std::string_view input) {
    const unsigned blade = TakeChoice(input, BladeCount);
    const auto answers = static_cast<ScriptedResident::Answers>(TakeChoice(input, 5));
    TakeLine(input);
    HttpText text = HttpTextOf(input);
    if (!text.m_good) return;
    ScriptedResident resident(BladeOf(blade), answers);
    bmhost::ApiService api(resident, LimitsOfApi(), resident.Images());
    text.m_request.m_peer.m_process = 4711;
    text.m_request.m_peer.m_user = 0;
    const std::string body = text.m_body;
    const Asked asked = AskService(api, text, {100});
    const std::string what = text.m_request.Operation() + " answered " + std::to_string(asked.m_reply.m_status);
    if (asked.m_streams) CheckEvents(asked.m_stream);
    const std::size_t carriedOut = resident.m_calls.size() + resident.m_orders.size();
    Require(carriedOut <= 1, what + ", and was two orders");
    if (carriedOut == 0) return;
    Require(text.m_request.m_method == "POST", what + ", and was an order");
    Require(asked.m_reply.m_status < 400 || asked.m_reply.m_status >= 500, what + ", and was carried out");
    for (const bmhost::Call& call : resident.m_calls)
        CheckCall(call);
    for (const bmhost::Order& order : resident.m_orders) {
        const bool image = order.m_name == "firmware-update";
        Require(order.m_values.is_object() && !order.m_values.contains("order"), what + ", with other values");
        Require(text.m_request.m_path == (image ? "/v1/firmware" : "/v1/orders/" + order.m_name),
                what + ": " + order.m_name);
        if (image)
            Require(resident.m_image == body && order.m_values.at("path") == ImagePath, what + ", with another image");
    }
    Require(asked.m_reply.m_status != 200 || resident.m_askers.front().m_process == 4711, what + " by another process");
}

ordered_json ShownRow(const BM_ADAPTOR::CBMIParams& row) {
    ordered_json shown;
    bmhost::MakeJsonOutput([&shown](ordered_json line) { shown = std::move(line); })->Read(0x100, 1, &row);
    return shown.at("row");
}

// What a client reads of an answer is what the host has written. As texts: JSON with 2^64 - 1 is equal to one with -1.
void ReadRow(const std::string& text) {
    const auto parsed = ordered_json::parse(text, nullptr, false);
    if (parsed.is_discarded()) return;
    std::unique_ptr<BM_ADAPTOR::CBMIParams> row;
    try {
        row = bmhost::RowOfWire(parsed);
    } catch (const std::runtime_error&) {
        return;
    }
    if (row == nullptr) {
        Require(parsed.is_null(), "no row of " + text);
        return;
    }
    const ordered_json shown = ShownRow(*row);
    const ordered_json again = ShownRow(*bmhost::RowOfWire(shown));
    Require(shown == again, "a row is read as another one: " + shown.dump() + " and " + again.dump());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto& given = parsed.at(i);
        Require(shown.size() == parsed.size() && given.at("value").dump() == shown[i].at("value").dump() &&
                    given.at("type") == shown[i].at("type") && given.at("key") == shown[i].at("key"),
                "a parameter is read as another one: " + given.dump() + " and " + shown[i].dump());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    if (TakeChoice(input, 2) == 0) {
        AskApi(input);
    } else {
        ReadRow(std::string(input));
    }
    return 0;
}
