// The board under Linux.
#pragma once

#include "adaptor/board/IPMI_Board.h"

namespace BM_ADAPTOR {

class LINUX_BOARD final : public BOARD {
public:
    std::optional<std::string> Environment(const char* a_Name) override;
    int RunTool(const std::string& a_CommandLine) override;
    std::optional<MAC_ADDRESS> HardwareAddressOf(const std::string& a_Interface) override;
    std::optional<std::string> IPv4AddressOf(const std::string& a_Interface) override;
    DRIVER_PASS WriteDriverFile(std::span<const std::string> a_Records) override;
    std::optional<std::vector<std::string>> OverrideLines() override;
    bool SetRemap(int a_Value) override;
    bool Wait(OSAL::OSALMonitor& a_Monitor, int a_Milliseconds) override;
    int WaitUntilReadable(int a_Descriptor, int a_Milliseconds) override;
    int StartThread(OSAL::OSALThread& a_Thread) override;
};

} // namespace BM_ADAPTOR
