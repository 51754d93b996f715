// Groups and parameters by name: with or without their common prefix, in any case.
#include "host/words/Names.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/words/Error.h"
#include "host/words/Value.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <limits>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

namespace BMHOST {

using BM_ADAPTOR::g_GroupNames;
using BM_ADAPTOR::g_ParameterNames;

namespace {

// What a name may be written without; the longest first. A name that becomes ambiguous means the first with it.
constexpr std::array<std::string_view, 4> GROUP_PREFIXES = {"BMI_GROUP_HARDWARE_", "BMI_GROUP_BM_IPMI_", "BMI_GROUP_",
                                                            "BMI_"};
constexpr std::array<std::string_view, 3> PARAMETER_PREFIXES = {"BMI_HW_", "BMI_FW_", "BMI_"};
// Of these a table's column shows nothing.
constexpr std::array<std::string_view, 11> TABLE_PREFIXES = {
    "BMI_HW_AMC_SWITCHPORT_", "BMI_HW_AMC_DSP_EX_", "BMI_HW_AMC_DSP_", "BMI_HW_AMC_FRU_",
    "BMI_HW_AMC_LED_",        "BMI_HW_AMC_",        "BMI_HW_RTM_FRU_", "BMI_HW_BB_LED_",
    "BMI_HW_BOARD_",          "BMI_FW_UPDATE_",     "BMI_HW_"};

std::string Upper(std::string_view a_Text) {
    std::string l_Text(a_Text);
    std::transform(l_Text.begin(), l_Text.end(), l_Text.begin(),
                   [](unsigned char a_Char) { return static_cast<char>(std::toupper(a_Char)); });
    return l_Text;
}

std::size_t Distance(std::string_view a_Left, std::string_view a_Right) {
    std::vector<std::size_t> l_Row(a_Right.size() + 1);
    std::iota(l_Row.begin(), l_Row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a_Left.size(); ++i) {
        std::size_t l_Diagonal = std::exchange(l_Row[0], i);
        for (std::size_t j = 1; j <= a_Right.size(); ++j) {
            const std::size_t l_Replace = l_Diagonal + (a_Left[i - 1] == a_Right[j - 1] ? 0 : 1);
            l_Diagonal = std::exchange(l_Row[j], std::min({l_Replace, l_Row[j] + 1, l_Row[j - 1] + 1}));
        }
    }
    return l_Row.back();
}

// Every way to write the name.
std::vector<std::string_view> Spellings(std::string_view a_Name, std::span<const std::string_view> a_Prefixes) {
    std::vector<std::string_view> l_Spellings = {a_Name};
    for (const std::string_view l_Prefix : a_Prefixes) {
        if (a_Name.starts_with(l_Prefix)) l_Spellings.push_back(a_Name.substr(l_Prefix.size()));
    }
    return l_Spellings;
}

std::string_view WithoutTable(std::string_view a_Name) {
    for (const std::string_view l_Prefix : TABLE_PREFIXES) {
        if (a_Name.starts_with(l_Prefix)) return a_Name.substr(l_Prefix.size());
    }
    return a_Name;
}

struct SPELLING {
    std::string_view m_Spelling;
    unsigned m_Number;
};

// The number that the text is or names.
unsigned Number(std::string_view a_Text, const std::string& a_Kind, const std::vector<SPELLING>& a_Spellings) {
    if (const auto l_Number = ParseNumber(a_Text)) {
        if (*l_Number >= 0 && *l_Number <= std::numeric_limits<uint32_t>::max())
            return static_cast<unsigned>(*l_Number);
        throw USAGE_ERROR(a_Kind + " '" + std::string(a_Text) + "': expected a number from 0 to 0xffffffff");
    }
    const std::string l_Wanted = Upper(a_Text);
    const SPELLING* l_Nearest = nullptr;
    std::size_t l_NearestDistance = std::numeric_limits<std::size_t>::max();
    for (const SPELLING& l_Spelling : a_Spellings) {
        if (l_Spelling.m_Spelling == l_Wanted) return l_Spelling.m_Number;
        const std::size_t l_Distance = Distance(l_Wanted, l_Spelling.m_Spelling);
        if (l_Distance >= l_NearestDistance) continue;
        l_NearestDistance = l_Distance;
        l_Nearest = &l_Spelling;
    }
    throw USAGE_ERROR("unknown " + a_Kind + " '" + std::string(a_Text) + "': expected a number or a name, perhaps " +
                      std::string(l_Nearest->m_Spelling) + " (`bmhost groups` lists them)");
}

} // namespace

unsigned GroupNumber(std::string_view a_Text) {
    std::vector<SPELLING> l_Spellings;
    for (const auto& l_Row : g_GroupNames) {
        for (const std::string_view l_Spelling : Spellings(l_Row.m_Name, GROUP_PREFIXES))
            l_Spellings.push_back({l_Spelling, l_Row.m_Group});
    }
    return Number(a_Text, "group", l_Spellings);
}

unsigned ParameterNumber(std::string_view a_Text, unsigned a_Group) {
    std::vector<SPELLING> l_Spellings;
    for (const auto& l_Row : g_ParameterNames) {
        for (const std::string_view l_Spelling : Spellings(l_Row.m_Name, PARAMETER_PREFIXES))
            l_Spellings.push_back({l_Spelling, l_Row.m_Id});
        if (IsParameterOf(l_Row.m_Id, a_Group)) l_Spellings.push_back({WithoutTable(l_Row.m_Name), l_Row.m_Id});
    }
    return Number(a_Text, "parameter", l_Spellings);
}

bool IsParameterOf(unsigned a_Id, unsigned a_Group) {
    return a_Id > a_Group && std::none_of(g_GroupNames.begin(), g_GroupNames.end(), [=](const auto& a_Row) {
               return a_Row.m_Group > a_Group && a_Row.m_Group <= a_Id;
           });
}

std::string_view GroupName(unsigned a_Group) {
    const auto* l_Found = std::find_if(g_GroupNames.begin(), g_GroupNames.end(),
                                       [=](const auto& a_Row) { return a_Row.m_Group == a_Group; });
    return l_Found != g_GroupNames.end() ? l_Found->m_Name : std::string_view{};
}

std::string_view ParameterName(unsigned a_Id) {
    const auto* l_Found = std::find_if(g_ParameterNames.begin(), g_ParameterNames.end(),
                                       [=](const auto& a_Row) { return a_Row.m_Id == a_Id; });
    return l_Found != g_ParameterNames.end() ? l_Found->m_Name : std::string_view{};
}

std::string ColumnName(unsigned a_Id) {
    const std::string_view l_Name = ParameterName(a_Id);
    if (l_Name.empty()) return Hex(a_Id);
    std::string l_Column(WithoutTable(l_Name));
    std::transform(l_Column.begin(), l_Column.end(), l_Column.begin(),
                   [](unsigned char a_Char) { return a_Char == '_' ? ' ' : static_cast<char>(std::tolower(a_Char)); });
    return l_Column;
}

std::string Hex(unsigned a_Number) {
    std::array<char, 16> l_Text{};
    snprintf(l_Text.data(), l_Text.size(), "0x%x", a_Number);
    return l_Text.data();
}

std::string_view ResultMeaning(int a_Result) {
    switch (a_Result) {
    case 0:
        return "nothing done";
    case 1:
        return "success";
    case 2:
        return "keys or values missing";
    case 4:
        return "key missing or unknown";
    case 12:
        return "not found";
    case 16:
        return "run status missing";
    case 21:
        return "value not obtainable";
    case 23:
        return "key or value missing";
    case 0x30004:
        return "media software not started";
    case 0x30011:
        return "DSPs not initialised";
    case 0x30012:
        return "switch not taught, or DSPs not loaded or not passed";
    case 0x30005:
        return "media software not stopped";
    default:
        return "failed";
    }
}

} // namespace BMHOST
