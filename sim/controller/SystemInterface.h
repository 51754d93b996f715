// Who works the system interface of a blade's controller. Everything else of the blade is there in any case.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace bladesim {

enum class SystemInterface : uint8_t {
    Bridge,  ///< bladesim's driver: COMMAND has a /dev/ipmi0 of the blade's own
    None,    ///< nobody: there is neither a controller nor a /dev/ipmi0
    Machine, ///< this machine's kernel: its /dev/ipmi0 is COMMAND's, and the controller behind it is none of bladesim's
    Guest,   ///< a virtual machine that COMMAND starts, and to which the controller's port is left
};

struct SystemInterfaceName {
    std::string_view m_name; ///< as on the command line
    SystemInterface m_interface;
};

constexpr SystemInterfaceName SystemInterfaces[] = {
    {"bridge", SystemInterface::Bridge},
    {"none", SystemInterface::None},
    {"machine", SystemInterface::Machine},
    {"guest", SystemInterface::Guest},
};

/// The variable in COMMAND's environment that has the name.
constexpr char SystemInterfaceVariable[] = "BLADESIM_IPMI";

inline std::string NameOf(SystemInterface interface) {
    return std::string(std::ranges::find(SystemInterfaces, interface, &SystemInterfaceName::m_interface)->m_name);
}

/// The blade has a controller of its own.
constexpr bool HasController(SystemInterface interface) {
    return interface == SystemInterface::Bridge || interface == SystemInterface::Guest;
}

} // namespace bladesim
