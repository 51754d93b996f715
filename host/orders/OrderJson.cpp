// The outcome of an order as JSON, and back.
#include "host/orders/Order.h"

#include "bm_dev/ByteText.h"

#include <stdexcept>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* OwnNames[] = {"order", "result", "good", "changed", "text", "remarks", "reasons", "cure"};

// Log lines have the hardware's bytes; JSON has characters.
std::string Characters(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const int length = bm_dev::Utf8Length(std::string_view(text).substr(i));
        if (length <= 0) return bm_dev::Utf8OfBytes(text);
        i += static_cast<std::size_t>(length);
    }
    return text;
}

ordered_json Characters(const std::vector<std::string>& texts) {
    ordered_json all = ordered_json::array();
    for (const std::string& text : texts)
        all.push_back(Characters(text));
    return all;
}

template <typename Value>
void Take(const ordered_json& fields, const char* name, Value& value) {
    const auto found = fields.find(name);
    if (found == fields.end()) throw std::runtime_error(std::string("an order's outcome without \"") + name + '"');
    try {
        found->get_to(value);
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error(std::string("an order's outcome with another kind of \"") + name + '"');
    }
}

} // namespace

ordered_json OrderOutcomeJson(const std::string& order, const OrderOutcome& outcome) {
    ordered_json fields = {{"order", order},
                           {"result", outcome.m_result},
                           {"good", outcome.m_good},
                           {"changed", outcome.m_changed},
                           {"text", Characters(outcome.m_text)},
                           {"remarks", Characters(outcome.m_remarks)},
                           {"reasons", Characters(outcome.m_reasons)},
                           {"cure", Characters(outcome.m_cure)}};
    for (const auto& [name, value] : outcome.m_values.items())
        fields[name] = value;
    return fields;
}

OrderOutcome OrderOutcomeOf(const ordered_json& fields) {
    if (!fields.is_object()) throw std::runtime_error("an order's outcome that is no object");
    OrderOutcome outcome;
    Take(fields, "result", outcome.m_result);
    Take(fields, "good", outcome.m_good);
    Take(fields, "changed", outcome.m_changed);
    Take(fields, "text", outcome.m_text);
    Take(fields, "remarks", outcome.m_remarks);
    Take(fields, "reasons", outcome.m_reasons);
    Take(fields, "cure", outcome.m_cure);
    outcome.m_values = fields;
    for (const char* name : OwnNames)
        outcome.m_values.erase(name);
    return outcome;
}

} // namespace bmhost
