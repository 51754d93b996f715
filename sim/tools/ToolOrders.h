// The tools' orders: a file in the run folder that `bladesim tool set` writes.
//
//     {"mavk_diag": {"exit": 16, "delay_ms": 2000, "times": 1}, "fwburn": {"signal": 9}}
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace bladesim {

constexpr unsigned MaxToolDelay = 600000;
constexpr unsigned MaxToolTimes = 1000000;
constexpr int MaxToolSignal = 64;

struct ToolOrder {
    int m_exit = 0;       ///< 0 to 255
    int m_signal = 0;     ///< ends by this signal; 0: by itself
    unsigned m_delay = 0; ///< takes this many milliseconds
    unsigned m_times = 0; ///< for this many runs; 0: for all

    bool operator==(const ToolOrder&) const = default;
};

/// By tool; tools without an order are not in it.
using ToolOrders = std::map<std::string, ToolOrder>;

/// Whether this signal ends a process that does not handle it.
bool SignalEnds(int signal);

/// All of these throw a BladeError; for an error in the file it names the line.
ToolOrders ReadToolOrders(const std::string& runFolder);
/// An order that changes nothing removes the former one.
void SetToolOrder(const std::string& runFolder, const std::string& tool, const ToolOrder& order);
/// The order for a run of this tool that begins now; counts the run.
ToolOrder TakeToolOrder(const std::string& runFolder, const std::string& tool);
void ClearToolOrders(const std::string& runFolder);

} // namespace bladesim
