// The simulated board's Ethernet switch. Its state is a text file that every process of the blade, or a person with an
// editor, may read and change:
//
//     bladesim switch 1
//     port 3 enabled up                          port, administrative state, whether the cable carries a link
//     learnt 02:00:5E:10:00:02 dsp 0             forwarding table: address, and the DSP or port behind it
//     learnt 02:00:5E:10:00:00 port 7
//     fail mavkAmcSwitchPortEnable 5             the call answers 5, from now on and whatever is asked
//     fail mavkAmcSwitchMACLearnByDSP 9 2        this one for DSP 2 (or port 2) only
//     end
//
// '#' begins a comment. A file without its last line is incomplete and is refused, as is any other file that does not
// have this form. Without a file the switch is in its factory state. The numbers of SwitchError are specific to this
// driver.
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

/// The results of the switch's calls besides 0.
enum SwitchError : int {
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

/// The port, or the DSP (counted from 0), to which an address leads.
struct SwitchDestination {
    bool m_isDSP = false;
    int m_number = 0;

    bool operator==(const SwitchDestination&) const = default;
};

/// Ports 3 and 4 lead to the fabric, 5 and 6 to the RTM, 7 and 8 to the CPUs.
struct SwitchState {
    std::map<int, SwitchPort> m_ports = {{3, {}}, {4, {}}, {5, {}}, {6, {}}, {7, {}}, {8, {}}};
    std::map<std::array<unsigned char, 6>, SwitchDestination> m_learnt;
    /// By call and, if the call fails for one port or DSP only, by its number.
    std::map<std::pair<std::string, std::optional<int>>, int> m_failures;

    /// The result that was ordered for the call; 0 when it should work.
    int FailureOf(std::string_view call, std::optional<int> number = std::nullopt) const;
    /// Orders a failure; code 0 lifts it.
    void SetFailure(const std::string& call, std::optional<int> number, int code);

    bool operator==(const SwitchState&) const = default;
};

/// How many addresses the forwarding table holds, and how many DSPs the switch has: 4 on each of 8 AMCs.
constexpr std::size_t SwitchTableSize = 512;
constexpr int SwitchDSPs = 32;

/// Why a state file is refused or cannot be written: file, line and reason.
class SwitchStateError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Converts the state to the file's text and back. `name` names the text in the SwitchStateError that is thrown.
std::string TextOfSwitch(const SwitchState& state);
SwitchState SwitchOfText(const std::string& content, const std::string& name);

/// The state file of the simulated board: "switch" in the folder BLADESIM_RUN_DIR. Empty when there is no simulated
/// board.
std::optional<std::string> SwitchFile();

/// Both throw SwitchStateError. Readers see a change as a whole or not at all, and only one process at a time changes
/// the file. A file that is refused is never overwritten.
SwitchState ReadSwitch(const std::string& path);
void ChangeSwitch(const std::string& path, const std::function<void(SwitchState&)>& change);

} // namespace bm_dev
