// Values as they are typed on the command line: ID=VALUE.
#include "host/words/Value.h"

#include "bm_dev/Nearest.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include <charconv>
#include <limits>

namespace bmhost {

using BM_ADAPTOR::BMIParamType_e;
using BM_ADAPTOR::CBMIParam;

namespace {

struct TypePrefix {
    std::string_view m_prefix;
    BMIParamType_e m_type;
};

constexpr TypePrefix Prefixes[] = {{"i:", BM_ADAPTOR::BMI_PARAM_INT},
                                   {"u:", BM_ADAPTOR::BMI_PARAM_UINT},
                                   {"s:", BM_ADAPTOR::BMI_PARAM_STRING},
                                   {"b:", BM_ADAPTOR::BMI_PARAM_BOOL}};

std::optional<bool> ParseBool(std::string_view text) {
    if (text == "true") return true;
    if (text == "false") return false;
    return std::nullopt;
}

BMIParamType_e TypeByForm(std::string_view value) {
    if (ParseNumber(value)) return BM_ADAPTOR::BMI_PARAM_INT;
    return ParseBool(value) ? BM_ADAPTOR::BMI_PARAM_BOOL : BM_ADAPTOR::BMI_PARAM_STRING;
}

std::string Quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// Both integer types carry 32 bits; 0xFFFFFFFF is -1.
int32_t ParseInt32(std::string_view value, std::string_view whole) {
    const auto number = ParseNumber(value);
    if (!number) throw UsageError(Quoted(whole) + ": expected an integer, decimal or 0x…, not " + Quoted(value));
    if (*number < std::numeric_limits<int32_t>::min() || *number > std::numeric_limits<uint32_t>::max()) {
        throw UsageError(Quoted(whole) + ": expected an integer of 32 bits, not " + Quoted(value) +
                         " (s: before it makes it a text)");
    }
    return static_cast<int32_t>(*number);
}

} // namespace

std::optional<int64_t> ParseNumber(std::string_view text) {
    const bool negative = text.starts_with('-');
    std::string_view digits = text.substr(negative ? 1 : 0);
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    if (hexadecimal) digits.remove_prefix(2);
    uint32_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value, hexadecimal ? 16 : 10);
    if (digits.empty() || result.ptr != end) return std::nullopt;
    // A number too large for the parameters is still a number: the caller says that it is too large.
    if (result.ec == std::errc::result_out_of_range) {
        return negative ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    }
    return negative ? -static_cast<int64_t>(value) : static_cast<int64_t>(value);
}

CBMIParam ParseParam(std::string_view text, bool key, unsigned group) {
    const auto equals = text.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        throw UsageError(Quoted(text) + ": expected ID=VALUE, as in 0x303=3 or BAY=3");
    }
    const unsigned id = ParameterNumber(text.substr(0, equals), group);
    std::string_view value = text.substr(equals + 1);
    BMIParamType_e type = TypeByForm(value);
    for (const TypePrefix& prefix : Prefixes) {
        if (!value.starts_with(prefix.m_prefix)) continue;
        type = prefix.m_type;
        value.remove_prefix(prefix.m_prefix.size());
        break;
    }
    CBMIParam param(type, id, key);
    switch (type) {
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        param.SetInt(ParseInt32(value, text));
        break;
    case BM_ADAPTOR::BMI_PARAM_BOOL: {
        const auto flag = ParseBool(value);
        if (!flag) {
            throw UsageError(Quoted(text) + ": expected true or false, not " + Quoted(value) +
                             bm_dev::DidYouMean(value, {"true", "false"}));
        }
        param.SetBool(*flag);
        break;
    }
    case BM_ADAPTOR::BMI_PARAM_STRING:
        param.SetString(std::string(value));
        break;
    }
    return param;
}

} // namespace bmhost
