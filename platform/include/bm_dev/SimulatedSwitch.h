// The simulated board's Ethernet switch. Its state is a text file that every process of the blade may read and change,
// a person with an editor too:
//
//     bladesim switch 1
//     port 3 enabled up                          port, administrative state, whether the cable carries a link
//     learnt 02:00:5E:10:00:02 dsp 0             forwarding table: address, and the DSP or port behind it
//     learnt 02:00:5E:10:00:00 port 7
//     fail mavkAmcSwitchPortEnable 5             the call answers 5, from now on and whatever is asked
//     fail mavkAmcSwitchMACLearnByDSP 9 2        this one for DSP 2 (or port 2) only
//     end
//
// '#' begins a comment. A file without its last line is incomplete and refused, as is any that is not of this form. No
// file is a switch as it comes out of its box. Only this driver knows the numbers that SWITCH_ERROR_e gives its errors.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace BM_PLATFORM {

/// What the switch's calls answer besides 0.
enum SWITCH_ERROR_e : int {
    SWITCH_NO_SUCH_PORT = 1,
    SWITCH_BAD_ARGUMENT = 2,
    SWITCH_TABLE_FULL = 3,
    SWITCH_NO_CARD = 6,         ///< there is no simulated board
    SWITCH_STATE_UNREADABLE = 7 ///< its state file is refused, or cannot be written
};

/// The calls that can be made to fail.
constexpr std::array<std::string_view, 6> SWITCH_CALLS = {"uPCIMemOpen",
                                                          "uPCIMemClose",
                                                          "mavkAmcSwitchPortEnable",
                                                          "mavkAmcSwitchPortCheckLink",
                                                          "mavkAmcSwitchMACLearn",
                                                          "mavkAmcSwitchMACLearnByDSP"};

struct SWITCH_PORT {
    bool m_Enabled = true;
    bool m_Cable = true; ///< a link comes up while the port is enabled

    bool operator==(const SWITCH_PORT&) const = default;
};

/// Behind which port or DSP (counted from 0) an address is.
struct SWITCH_DESTINATION {
    bool m_IsDSP = false;
    int m_Number = 0;

    bool operator==(const SWITCH_DESTINATION&) const = default;
};

/// Ports 3 and 4 lead to the fabric, 5 and 6 to the RTM, 7 and 8 to the CPUs.
struct SWITCH_STATE {
    std::map<int, SWITCH_PORT> m_Ports = {{3, {}}, {4, {}}, {5, {}}, {6, {}}, {7, {}}, {8, {}}};
    std::map<std::array<unsigned char, 6>, SWITCH_DESTINATION> m_Learnt;
    /// By call and, where it fails for one only, its port or DSP.
    std::map<std::pair<std::string, std::optional<int>>, int> m_Failures;

    /// What the call answers by order; 0 when it is to work.
    int FailureOf(std::string_view a_Call, std::optional<int> a_Number = std::nullopt) const;
    /// Orders a failure; code 0 lifts it.
    void SetFailure(const std::string& a_Call, std::optional<int> a_Number, int a_Code);

    bool operator==(const SWITCH_STATE&) const = default;
};

/// The addresses that fit into the forwarding table, and the DSPs that the switch has: 4 on each of 8 AMCs.
constexpr std::size_t SWITCH_TABLE_SIZE = 512;
constexpr int SWITCH_DSPS = 32;

/// Why a state file is refused or cannot be written: file, line and reason.
class SWITCH_STATE_ERROR : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The state as the file's text, and back; `name` names the text in what is thrown: SWITCH_STATE_ERROR.
std::string TextOfSwitch(const SWITCH_STATE& state);
SWITCH_STATE SwitchOfText(const std::string& content, const std::string& name);

/// The state file of the simulated board: "switch" in the folder BLADESIM_RUN_DIR. Nothing when there is no such board.
std::optional<std::string> SwitchFile();

/// Both throw SWITCH_STATE_ERROR. A change is seen whole or not at all; one process changes the file at a time. A file
/// that is refused is never overwritten.
SWITCH_STATE ReadSwitch(const std::string& path);
void ChangeSwitch(const std::string& path, const std::function<void(SWITCH_STATE&)>& change);

} // namespace BM_PLATFORM
