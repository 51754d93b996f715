// The values of an order, as JSON brings them.
#include "host/orders/OrderValues.h"

#include "host/orders/Order.h"
#include "host/words/Error.h"

#include <algorithm>
#include <cstdint>

namespace bmhost {

OrderValues::OrderValues(std::string_view order, const nlohmann::json& values) : m_order(order), m_values(values) {
    if (!m_values.is_object()) throw UsageError(m_order + ": expected its values as an object");
}

void OrderValues::Only(std::initializer_list<std::string_view> names) const {
    for (const auto& [name, value] : m_values.items()) {
        const bool common = name == "order" || name == OrderTakesSimulated;
        if (!common && std::ranges::find(names, name) == names.end()) Refuse(name, "it has no such value");
    }
    FlagIfAny(OrderTakesSimulated);
}

bool OrderValues::Has(std::string_view name) const {
    const auto found = m_values.find(name);
    return found != m_values.end() && !found->is_null();
}

int OrderValues::Number(std::string_view name, int first, int last) const {
    const std::string expected = "expected a number from " + std::to_string(first) + " to " + std::to_string(last);
    const nlohmann::json& value = At(name, expected);
    if (!value.is_number_integer()) Refuse(name, expected);
    const auto number = value.get<int64_t>();
    const bool tooLarge = value.is_number_unsigned() && value.get<uint64_t>() > INT32_MAX;
    if (tooLarge || number < first || number > last) Refuse(name, expected);
    return static_cast<int>(number);
}

std::string OrderValues::Text(std::string_view name) const {
    const nlohmann::json& value = At(name, "expected a text");
    if (!value.is_string()) Refuse(name, "expected a text");
    return value.get<std::string>();
}

std::string OrderValues::OneOf(std::string_view name, std::initializer_list<std::string_view> texts) const {
    std::string text = Has(name) ? Text(name) : "";
    if (std::ranges::find(texts, text) != texts.end()) return text;
    std::string expected = "expected";
    for (const std::string_view each : texts)
        expected.append(" ").append(each).append(",");
    expected.pop_back();
    Refuse(name, expected);
}

std::optional<std::string> OrderValues::TextIfAny(std::string_view name) const {
    return Has(name) ? std::optional(Text(name)) : std::nullopt;
}

bool OrderValues::Flag(std::string_view name) const {
    const nlohmann::json& value = At(name, "expected true or false");
    if (!value.is_boolean()) Refuse(name, "expected true or false");
    return value.get<bool>();
}

bool OrderValues::FlagIfAny(std::string_view name) const {
    return Has(name) && Flag(name);
}

const nlohmann::json& OrderValues::At(std::string_view name, const std::string& expected) const {
    if (!Has(name)) Refuse(name, expected);
    return *m_values.find(name);
}

void OrderValues::Refuse(std::string_view name, const std::string& reason) const {
    throw UsageError(m_order + ": \"" + std::string(name) + "\": " + reason);
}

} // namespace bmhost
