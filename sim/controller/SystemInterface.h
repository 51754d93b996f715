// Who serves the system interface of a blade's controller. The rest of the blade is the same in each case.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace bladesim {

enum class SystemInterface : uint8_t {
    Bridge,  ///< bladesim's driver: COMMAND finds the blade's own /dev/ipmi0
    None,    ///< nobody: no controller, no /dev/ipmi0
    Denied,  ///< nobody may: the controller is up, but its /dev/ipmi0 may not be opened
    Machine, ///< this machine's kernel: COMMAND uses its /dev/ipmi0, whatever controller that has
    Guest,   ///< a virtual machine that COMMAND starts: it connects to the controller's port
};

struct SystemInterfaceName {
    std::string_view m_name; ///< as on the command line
    SystemInterface m_interface;
};

constexpr SystemInterfaceName SystemInterfaces[] = {
    {"bridge", SystemInterface::Bridge},   {"none", SystemInterface::None},   {"denied", SystemInterface::Denied},
    {"machine", SystemInterface::Machine}, {"guest", SystemInterface::Guest},
};

/// The variable in COMMAND's environment that holds the name.
constexpr char SystemInterfaceVariable[] = "BLADESIM_IPMI";

inline std::string NameOf(SystemInterface interface) {
    return std::string(std::ranges::find(SystemInterfaces, interface, &SystemInterfaceName::m_interface)->m_name);
}

/// Whether the blade has its own controller.
constexpr bool HasController(SystemInterface interface) {
    return interface == SystemInterface::Bridge || interface == SystemInterface::Denied ||
           interface == SystemInterface::Guest;
}

} // namespace bladesim
