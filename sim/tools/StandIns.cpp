// What each stand-in does when it is not told to fail, and what it prints.
#include "sim/tools/StandIns.h"

#include "sim/tools/MediaProcess.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace BLADESIM {
namespace {

std::string Start(const std::string& a_RunFolder) {
    return "media software runs, process " + std::to_string(StartMedia(a_RunFolder));
}

std::string Stop(const std::string& a_RunFolder) {
    return EndMedia(a_RunFolder, MEDIA_END::STOP) ? "media software stopped" : "media software does not run";
}

/// The arguments are entered in the log and not looked at, but for the DSPs: "/0/02:4d:71:00:01:10/192.168.0.20".
struct STAND_IN {
    std::string_view m_Tool;
    const char* m_OfDSP;                     ///< printed for each DSP with "-v"; null: it is not told of any
    const char* m_Done;                      ///< printed at the end
    std::string (*m_Do)(const std::string&); ///< given the run folder, returns what is printed at the end instead
};

constexpr STAND_IN g_StandIns[] = {
    {"mavk_init", nullptr, "DSPs initialised", nullptr},
    {"mavk_boot", "image loaded", "DSPs started", nullptr},
    {"mavk_diag", "passed", "all tests passed", nullptr},
    {"mediaStart", nullptr, nullptr, Start},
    {"mediaStop", nullptr, nullptr, Stop},
    {"fwburn", nullptr, "upgrade done", nullptr},
};

struct DIAGNOSIS {
    int m_Exit;
    const char* m_Text;
};

constexpr DIAGNOSIS g_Diagnoses[] = {
    {1, "invalid parameters"}, {2, "firmware failed"}, {16, "AMC failed"}, {32, "RTM failed"}};

std::string Line(const std::string& a_Tool, const std::string& a_Text) {
    return a_Tool + ": " + a_Text + "\n";
}

bool IsNumber(std::string_view a_Text) {
    return !a_Text.empty() && a_Text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The DSP's number in an argument that tells of one; empty in any other.
std::string NumberOfDSP(std::string_view a_Argument) {
    if (!a_Argument.starts_with('/')) return "";
    const std::string_view l_Number = a_Argument.substr(1, a_Argument.find('/', 1) - 1);
    return IsNumber(l_Number) ? std::string(l_Number) : "";
}

} // namespace

std::string DoToolsWork(const std::string& a_RunFolder, const std::string& a_Tool,
                        const std::vector<std::string>& a_Arguments) {
    const auto* const l_StandIn = std::ranges::find(g_StandIns, a_Tool, &STAND_IN::m_Tool);
    if (l_StandIn == std::end(g_StandIns)) return "";
    if (l_StandIn->m_Do != nullptr) return Line(a_Tool, l_StandIn->m_Do(a_RunFolder));
    std::string l_Text;
    const bool l_Verbose = std::ranges::find(a_Arguments, "-v") != a_Arguments.end();
    for (const std::string& l_Argument : a_Arguments) {
        const std::string l_Number = NumberOfDSP(l_Argument);
        if (l_Verbose && l_StandIn->m_OfDSP != nullptr && !l_Number.empty())
            l_Text += Line(a_Tool, "DSP " + l_Number + ": " + l_StandIn->m_OfDSP);
    }
    return l_Text + Line(a_Tool, l_StandIn->m_Done);
}

std::string ToolsComplaint(const std::string& a_Tool, int a_Exit) {
    const auto* const l_Diagnosis = std::ranges::find(g_Diagnoses, a_Exit, &DIAGNOSIS::m_Exit);
    const bool l_IsDiagnosis = a_Tool == "mavk_diag" && l_Diagnosis != std::end(g_Diagnoses);
    return Line(a_Tool, l_IsDiagnosis ? l_Diagnosis->m_Text : "failed, status " + std::to_string(a_Exit));
}

} // namespace BLADESIM
