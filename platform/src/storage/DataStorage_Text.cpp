// The texts of a parameter's id, type and value in a storage file.
#include "platform/src/storage/DataStorage_Text.h"

#include <charconv>
#include <cstdio>
#include <limits>
#include <string_view>

namespace bm_storage {

namespace {

using BM_ADAPTOR::BMIParamType_e;
using BM_ADAPTOR::CBMIParam;

struct TypeName {
    BMIParamType_e m_type;
    const char* m_name;
};

constexpr TypeName Types[] = {
    {BM_ADAPTOR::BMI_PARAM_BOOL, "bool"},
    {BM_ADAPTOR::BMI_PARAM_INT, "int"},
    {BM_ADAPTOR::BMI_PARAM_UINT, "uint"},
    {BM_ADAPTOR::BMI_PARAM_STRING, "string"},
};

template <typename Number>
std::optional<Number> NumberFromText(std::string_view text, int base = 10) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

std::string StringToText(const std::string& value) {
    std::string text;
    for (const char byte : value) {
        if (byte == '\\') {
            text += "\\\\";
        } else if (IsControl(byte) || static_cast<unsigned char>(byte) > 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(byte));
            text += escape;
        } else {
            text += byte;
        }
    }
    return text;
}

std::optional<std::string> StringFromText(const std::string& text) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            value += text[i];
        } else if (text.compare(i, 2, "\\\\") == 0) {
            value += text[++i];
        } else {
            const auto digits = text.compare(i, 2, "\\x") == 0 ? text.substr(i + 2, 2) : std::string();
            const auto byte = NumberFromText<uint8_t>(digits, 16);
            if (digits.size() != 2 || !byte) return std::nullopt;
            value += static_cast<char>(*byte);
            i += 3;
        }
    }
    return value;
}

template <typename Number>
bool SetNumber(CBMIParam& param, const std::optional<Number>& number) {
    if (number) param.SetInt(static_cast<int32_t>(*number));
    return number.has_value();
}

} // namespace

bool IsControl(char byte) {
    return static_cast<unsigned char>(byte) < ' ' || byte == 0x7F;
}

std::optional<unsigned> IdFromText(const std::string& text) {
    return text.starts_with("0x") ? NumberFromText<uint32_t>(std::string_view(text).substr(2), 16)
                                  : NumberFromText<uint32_t>(text);
}

std::string IdToText(unsigned id) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", id);
    return text;
}

std::optional<BMIParamType_e> TypeFromText(const std::string& text) {
    for (const TypeName& type : Types)
        if (text == type.m_name) return type.m_type;
    return std::nullopt;
}

const char* TypeToText(BMIParamType_e type) {
    for (const TypeName& known : Types)
        if (type == known.m_type) return known.m_name;
    return nullptr;
}

std::optional<bool> BoolFromText(const std::string& text) {
    if (text != "true" && text != "false") return std::nullopt;
    return text == "true";
}

bool SetFromText(CBMIParam& param, const std::string& text) {
    switch (param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL: {
        const auto value = BoolFromText(text);
        param.SetBool(value.value_or(false));
        return value.has_value();
    }
    case BM_ADAPTOR::BMI_PARAM_INT:
        return SetNumber(param, NumberFromText<int32_t>(text));
    case BM_ADAPTOR::BMI_PARAM_UINT:
        return SetNumber(param, NumberFromText<uint32_t>(text));
    case BM_ADAPTOR::BMI_PARAM_STRING: {
        const auto value = StringFromText(text);
        param.SetString(value.value_or(std::string()));
        return value.has_value();
    }
    }
    return false;
}

std::string ValueToText(const CBMIParam& param) {
    switch (param.GetType()) {
    case BM_ADAPTOR::BMI_PARAM_BOOL:
        return param.GetBool() ? "true" : "false";
    case BM_ADAPTOR::BMI_PARAM_INT:
        return std::to_string(param.GetInt());
    case BM_ADAPTOR::BMI_PARAM_UINT:
        return std::to_string(static_cast<uint32_t>(param.GetInt()));
    case BM_ADAPTOR::BMI_PARAM_STRING:
        return StringToText(param.GetString());
    }
    return {};
}

std::string Shown(const std::string& text) {
    constexpr std::size_t most = 80;
    return text.size() <= most ? StringToText(text) : StringToText(text.substr(0, most)) + "…";
}

} // namespace bm_storage
