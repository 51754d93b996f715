// The board driver's tools: what their command lines depend on, and what their exit statuses mean.
#pragma once

namespace BM_ADAPTOR {

/// A tool's command line, by what there is of an RTM. Each begins below the install directory, with its slash.
struct TOOL_FORMS {
    const char* m_NoRTM;
    const char* m_NoLines; ///< an RTM without lines
    const char* m_Lines;

    /// What counts as a line is the caller's to say: start-up looks at the trunks, the health monitor at the framers.
    constexpr const char* Choose(bool a_bRTM, bool a_bLines) const {
        if (!a_bRTM) return m_NoRTM;
        return a_bLines ? m_Lines : m_NoLines;
    }
};

/// Exit statuses of the diagnostic. A larger one comes from the shell, which could not run the tool.
enum DIAGNOSTIC_STATUS_e : int {
    DIAGNOSTIC_PASSED = 0,
    DIAGNOSTIC_INVALID_PARAMETERS = 1,
    DIAGNOSTIC_FIRMWARE_FAILED = 2,
    DIAGNOSTIC_AMC_FAILED = 16,
    DIAGNOSTIC_RTM_FAILED = 32
};

} // namespace BM_ADAPTOR
