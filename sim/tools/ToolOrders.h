// What the tools are told to do: a file of the run folder, with what bladesim tool set orders.
//
//     {"mavk_diag": {"exit": 16, "delay_ms": 2000, "times": 1}, "fwburn": {"signal": 9}}
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace BLADESIM {

constexpr unsigned g_MaxToolDelay = 600000;
constexpr unsigned g_MaxToolTimes = 1000000;
constexpr int g_MaxToolSignal = 64;

struct TOOL_ORDER {
    int m_Exit = 0;       ///< 0 to 255
    int m_Signal = 0;     ///< it ends by this one; 0: by itself
    unsigned m_Delay = 0; ///< it takes so many milliseconds
    unsigned m_Times = 0; ///< for so many runs; 0: for all

    bool operator==(const TOOL_ORDER&) const = default;
};

/// By tool; those that nothing is ordered of are not in it.
using TOOL_ORDERS = std::map<std::string, TOOL_ORDER>;

/// Whether a process ends of this signal when it does nothing about it.
bool SignalEnds(int a_Signal);

/// All of these throw a BLADE_ERROR, also for a file with errors, which they name with their line.
TOOL_ORDERS ReadToolOrders(const std::string& a_RunFolder);
/// An order that changes nothing takes the former one back.
void SetToolOrder(const std::string& a_RunFolder, const std::string& a_Tool, const TOOL_ORDER& a_Order);
/// What a run of this tool that begins now has to do; counts it.
TOOL_ORDER TakeToolOrder(const std::string& a_RunFolder, const std::string& a_Tool);
void ClearToolOrders(const std::string& a_RunFolder);

} // namespace BLADESIM
