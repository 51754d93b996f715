// Groups and parameters by name: with or without their common prefix, in any case.
#include "host/words/Names.h"

#include "bm_dev/Nearest.h"
#include "common/veldo_common_protocol.h"
#include "host/words/Error.h"
#include "host/words/Value.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <iterator>
#include <limits>
#include <span>
#include <vector>

namespace bmhost {

using BM_ADAPTOR::g_GroupNames;
using BM_ADAPTOR::g_ParameterNames;

namespace {

// What a name may be written without; the longest first. A name that becomes ambiguous means the first with it.
constexpr std::array<std::string_view, 4> GroupPrefixes = {"BMI_GROUP_HARDWARE_", "BMI_GROUP_BM_IPMI_", "BMI_GROUP_",
                                                           "BMI_"};
constexpr std::array<std::string_view, 3> ParameterPrefixes = {"BMI_HW_", "BMI_FW_", "BMI_"};
// Of these a table's column shows nothing.
constexpr std::array<std::string_view, 11> TablePrefixes = {
    "BMI_HW_AMC_SWITCHPORT_", "BMI_HW_AMC_DSP_EX_", "BMI_HW_AMC_DSP_", "BMI_HW_AMC_FRU_",
    "BMI_HW_AMC_LED_",        "BMI_HW_AMC_",        "BMI_HW_RTM_FRU_", "BMI_HW_BB_LED_",
    "BMI_HW_BOARD_",          "BMI_FW_UPDATE_",     "BMI_HW_"};

std::string Upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return result;
}

// Every way to write the name.
std::vector<std::string_view> Spellings(std::string_view name, std::span<const std::string_view> prefixes) {
    std::vector<std::string_view> spellings = {name};
    for (const std::string_view prefix : prefixes) {
        if (name.starts_with(prefix)) spellings.push_back(name.substr(prefix.size()));
    }
    return spellings;
}

std::string_view WithoutTable(std::string_view name) {
    for (const std::string_view prefix : TablePrefixes) {
        if (name.starts_with(prefix)) return name.substr(prefix.size());
    }
    return name;
}

struct Spelling {
    std::string_view m_spelling;
    unsigned m_number;
};

// The number that the text is or names.
unsigned Number(std::string_view text, const std::string& kind, const std::vector<Spelling>& spellings) {
    if (const auto number = ParseNumber(text)) {
        if (*number >= 0 && *number <= std::numeric_limits<uint32_t>::max()) return static_cast<unsigned>(*number);
        throw UsageError(kind + " '" + std::string(text) + "': expected a number from 0 to 0xffffffff");
    }
    const std::string wanted = Upper(text);
    std::vector<std::string> names;
    for (const Spelling& spelling : spellings) {
        if (spelling.m_spelling == wanted) return spelling.m_number;
        names.emplace_back(spelling.m_spelling);
    }
    throw UsageError("unknown " + kind + " '" + std::string(text) +
                     "': expected a number or a name that `bmhost groups` lists" + bm_dev::DidYouMean(text, names));
}

} // namespace

std::string LowerCase(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return result;
}

unsigned GroupNumber(std::string_view text) {
    std::vector<Spelling> spellings;
    for (const auto& row : g_GroupNames) {
        for (const std::string_view spelling : Spellings(row.m_Name, GroupPrefixes))
            spellings.push_back({spelling, row.m_Group});
    }
    return Number(text, "group", spellings);
}

unsigned ParameterNumber(std::string_view text, unsigned group) {
    std::vector<Spelling> spellings;
    for (const auto& row : g_ParameterNames) {
        for (const std::string_view spelling : Spellings(row.m_Name, ParameterPrefixes))
            spellings.push_back({spelling, row.m_Id});
        if (IsParameterOf(row.m_Id, group)) spellings.push_back({WithoutTable(row.m_Name), row.m_Id});
    }
    return Number(text, "parameter", spellings);
}

bool IsParameterOf(unsigned id, unsigned group) {
    return id > group && std::none_of(g_GroupNames.begin(), g_GroupNames.end(),
                                      [=](const auto& row) { return row.m_Group > group && row.m_Group <= id; });
}

std::string_view GroupName(unsigned group) {
    const auto* found =
        std::find_if(g_GroupNames.begin(), g_GroupNames.end(), [=](const auto& row) { return row.m_Group == group; });
    return found != g_GroupNames.end() ? found->m_Name : std::string_view{};
}

std::string_view ParameterName(unsigned id) {
    const auto* found =
        std::find_if(g_ParameterNames.begin(), g_ParameterNames.end(), [=](const auto& row) { return row.m_Id == id; });
    return found != g_ParameterNames.end() ? found->m_Name : std::string_view{};
}

std::string ColumnName(unsigned id) {
    const std::string_view name = ParameterName(id);
    if (name.empty()) return Hex(id);
    std::string column = LowerCase(WithoutTable(name));
    std::replace(column.begin(), column.end(), '_', ' ');
    return column;
}

std::vector<std::string> ShortGroupNames() {
    std::vector<std::string> names;
    for (const auto& group : g_GroupNames) {
        std::string_view name = group.m_Name;
        for (const std::string_view prefix : {"BMI_GROUP_", "HARDWARE_", "BM_IPMI_"}) {
            if (name.starts_with(prefix)) name.remove_prefix(prefix.size());
        }
        names.push_back(LowerCase(name));
    }
    return names;
}

std::vector<std::string> ParameterWords(std::string_view group) {
    std::vector<std::string> words;
    unsigned number = 0;
    try {
        number = GroupNumber(group);
    } catch (const UsageError&) {
        return words;
    }
    for (const auto& param : g_ParameterNames) {
        if (!IsParameterOf(param.m_Id, number)) continue;
        std::string word = ColumnName(param.m_Id);
        std::replace(word.begin(), word.end(), ' ', '_');
        words.push_back(word + "=");
    }
    return words;
}

std::string Hex(unsigned number) {
    std::array<char, 16> result{};
    snprintf(result.data(), result.size(), "0x%x", number);
    return result.data();
}

std::string_view ResultMeaning(int result) {
    using namespace BM_ADAPTOR;
    struct Meaning {
        int m_result;
        std::string_view m_text;
    };
    static constexpr Meaning meanings[] = {
        {RESULT_NOTHING_DONE, "nothing done"},
        {RESULT_OK, "success"},
        {RESULT_NO_ARGUMENT, "keys or values missing"},
        {RESULT_NO_ROW, "key missing or unknown"},
        {RESULT_NOT_FOUND, "not found"},
        {RESULT_NO_STATUS, "run status missing"},
        {RESULT_NOT_OBTAINED, "value not obtainable"},
        {RESULT_NO_VALUE, "key or value missing"},
        {STARTUP_MEDIA_START_FAILED, "media software not started"},
        {STARTUP_MEDIA_STOP_FAILED, "media software not stopped"},
        {STARTUP_FAILED, "DSPs not initialised"},
        {STARTUP_DSP_FAILED, "switch not taught, or DSPs not loaded or not passed"},
        {MONITOR_FIRMWARE_FAILED, "firmware has stopped"},
        {MONITOR_RTM_FAILED, "RTM broken"},
        {MONITOR_AMC_FAILED, "AMC broken"},
        {MONITOR_NOT_RUN, "diagnostic not run"},
        {MONITOR_PROCESSOR_FAULT, "processor fault"},
        {MONITOR_NO_EXCHANGE, "media software does not answer"},
    };
    const auto* const found = std::find_if(std::begin(meanings), std::end(meanings),
                                           [=](const Meaning& row) { return row.m_result == result; });
    if (found != std::end(meanings)) return found->m_text;
    // Writes of LEDs pass the controller's completion code on.
    return result >= 0x80 && result <= 0xFF ? "refused by the controller" : "failed";
}

} // namespace bmhost
