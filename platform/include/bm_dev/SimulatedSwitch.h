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
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bm_dev {

/// What the switch's calls answer besides 0.
enum SWITCH_ERROR_e : int {
    SwitchNoSuchPort = 1,
    SwitchBadArgument = 2,
    SwitchTableFull = 3,
    SwitchNoCard = 6,         ///< there is no simulated board
    SwitchStateUnreadable = 7 ///< its state file is refused, or cannot be written
};

/// The calls that can be made to fail.
constexpr std::array<std::string_view, 6> SwitchCalls = {"uPCIMemOpen",
                                                         "uPCIMemClose",
                                                         "mavkAmcSwitchPortEnable",
                                                         "mavkAmcSwitchPortCheckLink",
                                                         "mavkAmcSwitchMACLearn",
                                                         "mavkAmcSwitchMACLearnByDSP"};

/// "02:00:5E:10:00:02", as the state file and tables show an address.
inline std::string TextOfMac(const std::array<unsigned char, 6>& mac) {
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return text.data();
}

struct SwitchPort {
    bool m_enabled = true;
    bool m_cable = true; ///< a link comes up while the port is enabled

    bool operator==(const SwitchPort&) const = default;
};

/// Behind which port or DSP (counted from 0) an address is.
struct SwitchDestination {
    bool m_isDSP = false;
    int m_number = 0;

    bool operator==(const SwitchDestination&) const = default;
};

/// Ports 3 and 4 lead to the fabric, 5 and 6 to the RTM, 7 and 8 to the CPUs.
struct SwitchState {
    std::map<int, SwitchPort> m_ports = {{3, {}}, {4, {}}, {5, {}}, {6, {}}, {7, {}}, {8, {}}};
    std::map<std::array<unsigned char, 6>, SwitchDestination> m_learnt;
    /// By call and, where it fails for one only, its port or DSP.
    std::map<std::pair<std::string, std::optional<int>>, int> m_failures;

    /// What the call answers by order; 0 when it is to work.
    int FailureOf(std::string_view call, std::optional<int> number = std::nullopt) const;
    /// Orders a failure; code 0 lifts it.
    void SetFailure(const std::string& call, std::optional<int> number, int code);

    bool operator==(const SwitchState&) const = default;
};

/// The addresses that fit into the forwarding table, and the DSPs that the switch has: 4 on each of 8 AMCs.
constexpr std::size_t SwitchTableSize = 512;
constexpr int SwitchDSPs = 32;

/// Why a state file is refused or cannot be written: file, line and reason.
class SwitchStateError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The state as the file's text, and back; `name` names the text in what is thrown: SwitchStateError.
std::string TextOfSwitch(const SwitchState& state);
SwitchState SwitchOfText(const std::string& content, const std::string& name);

/// The state file of the simulated board: "switch" in the folder BLADESIM_RUN_DIR. Nothing when there is no such board.
std::optional<std::string> SwitchFile();

/// Both throw SwitchStateError. A change is seen whole or not at all; one process changes the file at a time. A file
/// that is refused is never overwritten.
SwitchState ReadSwitch(const std::string& path);
void ChangeSwitch(const std::string& path, const std::function<void(SwitchState&)>& change);

} // namespace bm_dev
