// The one door to the machine: everything that the adaptor does to it, except by OpenIPMI and the host's own
// interfaces, goes through here.
#pragma once

#include "adaptor/board/IPMI_MAC.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace OSAL {
class OSALMonitor;
class OSALThread;
} // namespace OSAL

namespace BM_ADAPTOR {

/// The network interface by which the host reaches the DSPs.
inline constexpr const char* HOST_INTERFACE = "eth6";

/// How far a pass of records for the PCI driver got.
struct DRIVER_PASS {
    int m_OpenError = 0;     ///< the errno, when the driver's file could not be opened
    std::size_t m_Taken = 0; ///< how many records the driver took; it refused the next one, if there is one
};

/// The board and its operating system. Any thread, several at once. Nothing here logs.
class BOARD {
public:
    BOARD() = default;
    BOARD(const BOARD&) = delete;
    BOARD& operator=(const BOARD&) = delete;
    virtual ~BOARD() = default;

    /// An environment variable; nothing when it is not set. One that is set to nothing is set.
    virtual std::optional<std::string> Environment(const char* a_Name) = 0;

    /// Runs a command line by the shell and waits for its end, however long it takes.
    /// @return what system() gives: a wait status, or -1 when nothing could be run
    virtual int RunTool(const std::string& a_CommandLine) = 0;

    /// The Ethernet address of a network interface; nothing when there is no such interface, or it has no IPv4
    /// address.
    virtual std::optional<MAC_ADDRESS> HardwareAddressOf(const std::string& a_Interface) = 0;
    /// Its IPv4 address as dotted text, likewise.
    virtual std::optional<std::string> IPv4AddressOf(const std::string& a_Interface) = 0;

    /// Opens the PCI driver's control file and writes the records, one write each, until the driver refuses one or
    /// takes a part of it only. What it took stays.
    virtual DRIVER_PASS WriteDriverFile(std::span<const std::string> a_Records) = 0;
    /// The lines of the RTM's override file with their line ends, at most four; a line of more than 1023 characters
    /// counts as several. Nothing when there is no such file.
    virtual std::optional<std::vector<std::string>> OverrideLines() = 0;
    /// Sets the kernel parameter by which the board driver maps the DSPs. False when the kernel has no such parameter.
    virtual bool SetRemap(int a_Value) = 0;

    /// Waits on a monitor that the caller has locked.
    /// @return false when the time ran out; true when notified, or woken for no reason
    virtual bool Wait(OSAL::OSALMonitor& a_Monitor, int a_Milliseconds) = 0;
    /// Waits until a descriptor can be read; a signal does not end the wait.
    /// @return as select() gives it: 1; 0 when the time ran out; -1 after an error, or at once for a descriptor that
    ///         select cannot take
    virtual int WaitUntilReadable(int a_Descriptor, int a_Milliseconds) = 0;
    /// Starts a thread. 0, or an errno: as OSALThread::Start.
    virtual int StartThread(OSAL::OSALThread& a_Thread) = 0;
};

/// The board that this process runs on; lives as long as the process.
BOARD& TheBoard();

/// Root of the board's tools and files: the environment variable TARSK_KORVEL_DIR, or its default.
std::string InstallDir(BOARD& a_Board);

} // namespace BM_ADAPTOR
