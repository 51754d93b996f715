// The values of an order, as JSON brings them.
#pragma once

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

/// Every member throws UsageError, naming the value and what was expected.
class OrderValues {
public:
    OrderValues(std::string_view order, const nlohmann::json& values);

    /// A value of another name is a misunderstanding, but for those that every order has.
    void Only(std::initializer_list<std::string_view> names) const;

    bool Has(std::string_view name) const;
    int Number(std::string_view name, int first, int last) const;
    std::string Text(std::string_view name) const;
    std::string OneOf(std::string_view name, std::initializer_list<std::string_view> texts) const;
    std::optional<std::string> TextIfAny(std::string_view name) const;
    bool Flag(std::string_view name) const;
    /// False when there is none.
    bool FlagIfAny(std::string_view name) const;

private:
    const nlohmann::json& At(std::string_view name, const std::string& expected) const;
    [[noreturn]] void Refuse(std::string_view name, const std::string& reason) const;

    std::string m_order;
    const nlohmann::json& m_values;
};

} // namespace bmhost
