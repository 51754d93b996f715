// The overrides of the environment, by which a laboratory puts other modules in the place of those that the FRUs tell
// of.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"

#include <optional>

namespace BM_ADAPTOR {

/// The override for AMCs: MAVK_AMC, four characters or more. The first is not looked at, each of the others is a digit;
/// any other character counts as 0.
struct AMC_OVERRIDE {
    int m_Bay;
    int m_FieldA;
    int m_FieldB; ///< number of DSPs
};

/// Nothing when MAVK_AMC is not set, or too short.
std::optional<AMC_OVERRIDE> AMCOverride(BOARD& a_Board);

/// Modes of the RTM override, its first digit. Other digits are returned as they are.
enum PSTN_MODE_e : int {
    PSTN_MODE_FRU_DATA = 0, ///< no override
    PSTN_MODE_NO_RTM = 1,   ///< simulate that there is no RTM
    PSTN_MODE_SIMULATED = 2 ///< simulate an RTM: the next three digits are framer type, framers, trunks per framer
};

/// The override for the RTM, in the environment or in a file. Any thread.
class RTM_OVERRIDE {
public:
    explicit RTM_OVERRIDE(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Reads MAVK_RTM. The outputs are set only for a complete simulated RTM.
    /// @return the mode, a PSTN_MODE_e or another digit
    int ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) const;
    /// Reads the override file, four lines with a number each; nothing uses it. An output without a line
    /// is -1.
    /// @return the mode, the first line; 0 when there are fewer than four, -1 without the file
    int ReadRTMConfigFile(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
