// Values as they are typed on the command line: ID=VALUE.
#include "host/words/Value.h"

#include "host/words/Error.h"
#include "host/words/Names.h"

#include <charconv>
#include <limits>

namespace BMHOST {

using BM_ADAPTOR::BMIParamType_e;
using BM_ADAPTOR::CBMIParam;

namespace {

struct TYPE_PREFIX {
    std::string_view m_Prefix;
    BMIParamType_e m_Type;
};

constexpr TYPE_PREFIX PREFIXES[] = {{"i:", BM_ADAPTOR::BMI_PARAM_INT},
                                    {"u:", BM_ADAPTOR::BMI_PARAM_UINT},
                                    {"s:", BM_ADAPTOR::BMI_PARAM_STRING},
                                    {"b:", BM_ADAPTOR::BMI_PARAM_BOOL}};

std::optional<bool> ParseBool(std::string_view a_Text) {
    if (a_Text == "true") return true;
    if (a_Text == "false") return false;
    return std::nullopt;
}

BMIParamType_e TypeByForm(std::string_view a_Value) {
    if (ParseNumber(a_Value)) return BM_ADAPTOR::BMI_PARAM_INT;
    return ParseBool(a_Value) ? BM_ADAPTOR::BMI_PARAM_BOOL : BM_ADAPTOR::BMI_PARAM_STRING;
}

std::string Quoted(std::string_view a_Text) {
    return "'" + std::string(a_Text) + "'";
}

// Both integer types carry 32 bits; 0xFFFFFFFF is -1.
int32_t ParseInt32(std::string_view a_Value, std::string_view a_Whole) {
    const auto l_Number = ParseNumber(a_Value);
    if (!l_Number) throw USAGE_ERROR(Quoted(a_Whole) + ": expected an integer, decimal or 0x…, not " + Quoted(a_Value));
    if (*l_Number < std::numeric_limits<int32_t>::min() || *l_Number > std::numeric_limits<uint32_t>::max()) {
        throw USAGE_ERROR(Quoted(a_Whole) + ": expected an integer of 32 bits, not " + Quoted(a_Value) +
                          " (s: before it makes it a text)");
    }
    return static_cast<int32_t>(*l_Number);
}

} // namespace

std::optional<int64_t> ParseNumber(std::string_view a_Text) {
    const bool l_Negative = a_Text.starts_with('-');
    std::string_view l_Digits = a_Text.substr(l_Negative ? 1 : 0);
    const bool l_Hexadecimal = l_Digits.starts_with("0x") || l_Digits.starts_with("0X");
    if (l_Hexadecimal) l_Digits.remove_prefix(2);
    uint32_t l_Value = 0;
    const char* l_End = l_Digits.data() + l_Digits.size();
    const auto l_Result = std::from_chars(l_Digits.data(), l_End, l_Value, l_Hexadecimal ? 16 : 10);
    if (l_Digits.empty() || l_Result.ptr != l_End) return std::nullopt;
    // A number too large for the parameters is still a number: the caller says that it is too large.
    if (l_Result.ec == std::errc::result_out_of_range) {
        return l_Negative ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    }
    return l_Negative ? -static_cast<int64_t>(l_Value) : static_cast<int64_t>(l_Value);
}

CBMIParam ParseParam(std::string_view a_Text, bool a_Key, unsigned a_Group) {
    const auto l_Equals = a_Text.find('=');
    if (l_Equals == std::string_view::npos || l_Equals == 0) {
        throw USAGE_ERROR(Quoted(a_Text) + ": expected ID=VALUE, as in 0x303=3 or BAY=3");
    }
    const unsigned l_Id = ParameterNumber(a_Text.substr(0, l_Equals), a_Group);
    std::string_view l_Value = a_Text.substr(l_Equals + 1);
    BMIParamType_e l_Type = TypeByForm(l_Value);
    for (const TYPE_PREFIX& l_Prefix : PREFIXES) {
        if (!l_Value.starts_with(l_Prefix.m_Prefix)) continue;
        l_Type = l_Prefix.m_Type;
        l_Value.remove_prefix(l_Prefix.m_Prefix.size());
        break;
    }
    CBMIParam l_Param(l_Type, l_Id, a_Key);
    switch (l_Type) {
    case BM_ADAPTOR::BMI_PARAM_INT:
    case BM_ADAPTOR::BMI_PARAM_UINT:
        l_Param.SetInt(ParseInt32(l_Value, a_Text));
        break;
    case BM_ADAPTOR::BMI_PARAM_BOOL: {
        const auto l_Bool = ParseBool(l_Value);
        if (!l_Bool) throw USAGE_ERROR(Quoted(a_Text) + ": expected true or false, not " + Quoted(l_Value));
        l_Param.SetBool(*l_Bool);
        break;
    }
    case BM_ADAPTOR::BMI_PARAM_STRING:
        l_Param.SetString(std::string(l_Value));
        break;
    }
    return l_Param;
}

} // namespace BMHOST
