// What happens at the resident host, as a line for people.
#include "host/views/NewsLine.h"

#include "host/output/TextOutput.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace bmhost {

namespace {

using nlohmann::ordered_json;

std::string TextAt(const ordered_json& data, const char* key) {
    const auto found = data.find(key);
    return found != data.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::optional<int32_t> IntegerAt(const ordered_json& data, const char* key) {
    const auto found = data.find(key);
    if (found == data.end() || !found->is_number_integer()) return std::nullopt;
    const auto number = found->get<int64_t>();
    if (number < std::numeric_limits<int32_t>::min() || number > std::numeric_limits<int32_t>::max())
        return std::nullopt;
    return static_cast<int32_t>(number);
}

bool IsTrue(const ordered_json& data, const char* key) {
    const auto found = data.find(key);
    return found != data.end() && found->is_boolean() && found->get<bool>();
}

// ": one; other", or nothing.
std::string ReasonsOf(const ordered_json& data) {
    std::string text;
    const auto found = data.find("reasons");
    if (found == data.end() || !found->is_array()) return text;
    for (const ordered_json& reason : *found) {
        if (reason.is_string()) text += (text.empty() ? ": " : "; ") + reason.get<std::string>();
    }
    return text;
}

std::string AskerOf(const ordered_json& data) {
    const std::string asker = TextAt(data, "asker");
    return asker.empty() ? "" : "; asked by " + asker;
}

std::string HealthLine(const ordered_json& data) {
    const std::string state = TextAt(data, "state");
    if (state == "ended") return "health: no longer monitored";
    const std::string line = "health: " + state + ReasonsOf(data);
    return state == "fault" ? line + "; no longer monitored, until the next start" : line;
}

// What an LED order returns is the controller's completion code: only the host knows which results are good.
std::string OrderNewsLine(const ordered_json& data, int32_t result) {
    const std::string place = TextAt(data, "place");
    const std::string line = "order " + TextAt(data, "order") + (place.empty() ? "" : ", " + place) + ": ";
    if (!IsTrue(data, "good")) return line + "failed, result " + ResultText(result) + ReasonsOf(data) + AskerOf(data);
    return line + "done (" + std::to_string(result) + "), " +
           (IsTrue(data, "changed") ? "changed" : "nothing changed") + AskerOf(data);
}

std::string CallLine(const ordered_json& data) {
    const std::string operation = TextAt(data, "op");
    const auto result = IntegerAt(data, "result");
    if (operation.empty() || !result) return "";
    if (operation == "order") return OrderNewsLine(data, *result);
    return operation + ": " + ResultText(*result) + ReasonsOf(data) + AskerOf(data);
}

std::string LostLine(const ordered_json& data) {
    const auto after = IntegerAt(data, "after");
    const auto first = IntegerAt(data, "first");
    if (!after || !first) return "";
    return "events are lost, for they are not kept any more: those from " + std::to_string(*after + 1) + " to " +
           std::to_string(*first - 1);
}

std::string WordOf(const ordered_json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_array()) return value.dump(-1, ' ', true, ordered_json::error_handler_t::replace);
    std::string text;
    for (const ordered_json& part : value)
        text += (text.empty() ? "" : ", ") + WordOf(part);
    return text.empty() ? "none" : text;
}

// Of what this program does not know.
std::string AllFields(const std::string& kind, const ordered_json& data) {
    std::string text;
    for (const auto& [name, value] : data.items()) {
        if (name != "time") text += (text.empty() ? ": " : ", ") + name + " " + WordOf(value);
    }
    return kind + text;
}

std::string KnownText(const std::string& kind, const ordered_json& data) {
    if (kind == "event") return TextAt(data, "text");
    if (kind == "health" && !TextAt(data, "state").empty()) return HealthLine(data);
    if (kind == "call") return CallLine(data);
    if (kind == "lost") return LostLine(data);
    return "";
}

} // namespace

std::string NewsLine(const std::string& kind, const ordered_json& data) {
    if (kind == "picture") return "";
    std::string text = KnownText(kind, data);
    if (text.empty()) text = AllFields(kind, data);
    // A log text may have several lines; here each piece of news has one.
    std::replace(text.begin(), text.end(), '\n', ' ');
    const std::string time = TextAt(data, "time");
    return bm_dev::Printable((time.empty() ? "-" : time) + "  " + text) + "\n";
}

} // namespace bmhost
