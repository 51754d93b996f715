// The board under Linux: tools, environment, the PCI driver's file, the kernel parameter and the clock.
#include "adaptor/board/IPMI_LinuxBoard.h"

#include "adaptor/board/IPMI_Network.h"
#include "bm/OSAL.h"
#include "common/veldo_common_descriptor.h"

#include <sys/select.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <linux/sysctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace BM_ADAPTOR {

namespace {

constexpr const char* DRIVER_FILE = "/proc/mavkpcidrv/pstn.cfg";
constexpr const char* OVERRIDE_FILE = "/usr/korvel/cfg/rtmdata.cfg";
constexpr std::size_t OVERRIDE_LINES = 4;

} // namespace

BOARD& TheBoard() {
    static BOARD& s_Board = *new LINUX_BOARD;
    return s_Board;
}

std::string InstallDir(BOARD& a_Board) {
    return a_Board.Environment("TARSK_KORVEL_DIR").value_or("/usr/korvel");
}

std::optional<std::string> LINUX_BOARD::Environment(const char* a_Name) {
    const char* l_Value = getenv(a_Name);
    return l_Value != nullptr ? std::optional<std::string>(l_Value) : std::nullopt;
}

int LINUX_BOARD::RunTool(const std::string& a_CommandLine) {
    return system(a_CommandLine.c_str());
}

std::optional<MAC_ADDRESS> LINUX_BOARD::HardwareAddressOf(const std::string& a_Interface) {
    return BM_ADAPTOR::HardwareAddressOf(a_Interface);
}

std::optional<std::string> LINUX_BOARD::IPv4AddressOf(const std::string& a_Interface) {
    return BM_ADAPTOR::IPv4AddressOf(a_Interface);
}

// The driver takes one write for one record, without a line end: it takes a record whole or not at all.
DRIVER_PASS LINUX_BOARD::WriteDriverFile(std::span<const std::string> a_Records) {
    const DESCRIPTOR l_File(open(DRIVER_FILE, O_RDWR | O_CLOEXEC));
    if (!l_File) return {errno, 0};
    DRIVER_PASS l_Pass;
    for (const std::string& l_Record : a_Records) {
        if (write(l_File.Get(), l_Record.data(), l_Record.size()) != static_cast<ssize_t>(l_Record.size())) break;
        ++l_Pass.m_Taken;
    }
    return l_Pass;
}

std::optional<std::vector<std::string>> LINUX_BOARD::OverrideLines() {
    const std::unique_ptr<FILE, int (*)(FILE*)> l_File(fopen(OVERRIDE_FILE, "re"), fclose);
    if (!l_File) return std::nullopt;
    std::vector<std::string> l_Lines;
    std::array<char, 1024> l_Line{};
    while (l_Lines.size() < OVERRIDE_LINES &&
           fgets(l_Line.data(), static_cast<int>(l_Line.size()), l_File.get()) != nullptr)
        l_Lines.emplace_back(l_Line.data());
    return l_Lines;
}

// Named by two numbers; what it does is the board driver's. Kernels that no longer have the system call refuse it.
bool LINUX_BOARD::SetRemap(int a_Value) {
    std::array<int, 2> l_Name = {555, 2};
    __sysctl_args l_Arguments{};
    l_Arguments.name = l_Name.data();
    l_Arguments.nlen = static_cast<int>(l_Name.size());
    l_Arguments.newval = &a_Value;
    l_Arguments.newlen = sizeof(a_Value);
    return syscall(SYS__sysctl, &l_Arguments) == 0;
}

bool LINUX_BOARD::Wait(OSAL::OSALMonitor& a_Monitor, int a_Milliseconds) {
    return a_Monitor.Wait(a_Milliseconds);
}

// After a signal it waits again, for the rest of the time: Linux leaves that in the time-out.
int LINUX_BOARD::WaitUntilReadable(int a_Descriptor, int a_Milliseconds) {
    if (a_Descriptor < 0 || a_Descriptor >= FD_SETSIZE) return -1; // has no place in the set
    timeval l_Left = {a_Milliseconds / 1000, a_Milliseconds % 1000 * 1000L};
    int l_Result = -1;
    do {
        fd_set l_Set;
        FD_ZERO(&l_Set);
        FD_SET(a_Descriptor, &l_Set);
        l_Result = select(a_Descriptor + 1, &l_Set, nullptr, nullptr, &l_Left);
    } while (l_Result < 0 && errno == EINTR);
    return l_Result;
}

int LINUX_BOARD::StartThread(OSAL::OSALThread& a_Thread) {
    return a_Thread.Start();
}

} // namespace BM_ADAPTOR
