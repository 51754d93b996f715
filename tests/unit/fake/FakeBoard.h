// The board as tests play it: tools that are written down instead of run, network interfaces, the PCI driver's file,
// the kernel parameter, the environment and the clock.
#pragma once

#include "adaptor/board/IPMI_Board.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// A network interface with an IPv4 address; one without is not there.
struct BOARD_INTERFACE {
    std::string m_IP;
    std::array<unsigned char, 6> m_Mac{};
};

/// No time passes: a wait that is told to time out does so at once, any other one ends only when it is notified. What
/// is set here is set while nothing runs; the board's operations may come from any thread.
class FAKE_BOARD final : public BM_ADAPTOR::BOARD {
public:
    // ---- tools: each is written down, and ends as told
    std::deque<int> m_ToolResults{};                              ///< of the next runs; the last one is kept
    std::function<void(const std::string& a_Command)> m_OnTool{}; ///< within each run, on its thread
    std::vector<std::string> Commands() const;
    void ForgetCommands();

    // ---- the environment; the process's own is not looked at
    std::map<std::string, std::string> m_Environment{};

    // ---- network interfaces
    std::map<std::string, BOARD_INTERFACE> m_Interfaces{};

    // ---- the PCI driver. A record is "1 DataValid=1": the number of the opening, the bytes.
    std::map<int, int> m_OpenErrors{}; ///< number of the opening, from 1: the errno
    std::set<std::string> m_RefusedRecords{};
    std::vector<std::string> Records() const;

    // ---- the kernel parameter
    bool m_bNoParameter = false; ///< as on a kernel without it
    std::optional<int> Remap() const;

    std::optional<std::vector<std::string>> m_OverrideLines{};

    // ---- the clock
    /// How many of the next waits on a monitor time out.
    void LetTimeOut(int a_Count);
    /// Comes back when so many such waits have begun; notifications after that find the waiter.
    void WaitForBegun(std::size_t a_Count) const;
    /// The milliseconds that they asked for.
    std::vector<int> Waits() const;
    std::deque<int> m_Readable{}; ///< what the next waits for a descriptor give; 1 when there is none
    std::vector<std::pair<int, int>> ReadWaits() const; ///< descriptor and milliseconds of each

    // ---- threads
    std::function<int()> m_OnStart{};    ///< in place of the next start, when it gives an errno; it may throw
    std::function<void()> m_OnStarted{}; ///< when the next thread runs and its Start has not come back yet

    std::optional<std::string> Environment(const char* a_Name) override;
    int RunTool(const std::string& a_CommandLine) override;
    std::optional<BM_ADAPTOR::MAC_ADDRESS> HardwareAddressOf(const std::string& a_Interface) override;
    std::optional<std::string> IPv4AddressOf(const std::string& a_Interface) override;
    BM_ADAPTOR::DRIVER_PASS WriteDriverFile(std::span<const std::string> a_Records) override;
    std::optional<std::vector<std::string>> OverrideLines() override;
    bool SetRemap(int a_Value) override;
    bool Wait(OSAL::OSALMonitor& a_Monitor, int a_Milliseconds) override;
    int WaitUntilReadable(int a_Descriptor, int a_Milliseconds) override;
    int StartThread(OSAL::OSALThread& a_Thread) override;

private:
    mutable std::mutex m_Lock;
    mutable std::condition_variable m_Begun;
    std::vector<std::string> m_Commands;
    std::vector<std::string> m_Records;
    std::optional<int> m_Remap;
    std::vector<int> m_Waits;
    std::vector<std::pair<int, int>> m_ReadWaits;
    int m_Openings = 0;
    int m_TimeOuts = 0;
};

/// What RunTool gives for a tool that exits with this status.
constexpr int Exited(int a_Status) {
    return a_Status << 8;
}
/// What it gives for a tool that a signal ended.
constexpr int Killed(int a_Signal) {
    return a_Signal;
}
