// What each stand-in does when it has no order to fail, and what it prints.
#include "sim/tools/StandIns.h"

#include "common/veldo_common_tools.h"
#include "sim/tools/MediaProcess.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace bladesim {
namespace {

std::string Start(const std::string& runFolder) {
    return "media software runs, process " + std::to_string(StartMedia(runFolder));
}

std::string Stop(const std::string& runFolder) {
    return EndMedia(runFolder, MediaEnd::Stop) ? "media software stopped" : "media software does not run";
}

/// The arguments are logged and otherwise ignored, except for the DSPs: "/0/02:4d:71:00:01:10/192.168.0.20".
struct StandIn {
    std::string_view m_tool;
    const char* m_ofDSP;                     ///< printed for each DSP with "-v"; null: it takes none
    const char* m_done;                      ///< printed at the end
    std::string (*m_do)(const std::string&); ///< gets the run folder; what it returns is printed at the end instead
};

constexpr StandIn StandIns[] = {
    {"mavk_init", nullptr, "DSPs initialised", nullptr},
    {"mavk_boot", "image loaded", "DSPs started", nullptr},
    {"mavk_diag", "passed", "all tests passed", nullptr},
    {"mediaStart", nullptr, nullptr, Start},
    {"mediaStop", nullptr, nullptr, Stop},
    {"fwburn", nullptr, "upgrade done", nullptr},
};

struct Diagnosis {
    int m_exit;
    const char* m_text;
};

constexpr Diagnosis Diagnoses[] = {{BM_ADAPTOR::DIAGNOSTIC_INVALID_PARAMETERS, "invalid parameters"},
                                   {BM_ADAPTOR::DIAGNOSTIC_FIRMWARE_FAILED, "firmware failed"},
                                   {BM_ADAPTOR::DIAGNOSTIC_AMC_FAILED, "AMC failed"},
                                   {BM_ADAPTOR::DIAGNOSTIC_RTM_FAILED, "RTM failed"}};

std::string Line(const std::string& tool, const std::string& text) {
    return tool + ": " + text + "\n";
}

bool IsNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The DSP's number in an argument that names one; empty in any other.
std::string NumberOfDSP(std::string_view argument) {
    if (!argument.starts_with('/')) return "";
    const std::string_view number = argument.substr(1, argument.find('/', 1) - 1);
    return IsNumber(number) ? std::string(number) : "";
}

} // namespace

std::string DoToolsWork(const std::string& runFolder, const std::string& tool,
                        const std::vector<std::string>& arguments) {
    const auto* const standIn = std::ranges::find(StandIns, tool, &StandIn::m_tool);
    if (standIn == std::end(StandIns)) return "";
    if (standIn->m_do != nullptr) return Line(tool, standIn->m_do(runFolder));
    std::string text;
    const bool verbose = std::ranges::find(arguments, "-v") != arguments.end();
    for (const std::string& argument : arguments) {
        const std::string number = NumberOfDSP(argument);
        if (verbose && standIn->m_ofDSP != nullptr && !number.empty())
            text += Line(tool, "DSP " + number + ": " + standIn->m_ofDSP);
    }
    return text + Line(tool, standIn->m_done);
}

std::string ToolsComplaint(const std::string& tool, int exit) {
    const auto* const diagnosis = std::ranges::find(Diagnoses, exit, &Diagnosis::m_exit);
    const bool isDiagnosis = tool == "mavk_diag" && diagnosis != std::end(Diagnoses);
    return Line(tool, isDiagnosis ? diagnosis->m_text : "failed, status " + std::to_string(exit));
}

} // namespace bladesim
