// Who works the system interface of a blade's controller. Everything else of the blade is there in any case.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace BLADESIM {

enum class SYSTEM_INTERFACE : uint8_t {
    BRIDGE,  ///< bladesim's driver: COMMAND has a /dev/ipmi0 of the blade's own
    NONE,    ///< nobody: there is neither a controller nor a /dev/ipmi0
    MACHINE, ///< this machine's kernel: its /dev/ipmi0 is COMMAND's, and the controller behind it is none of bladesim's
    GUEST,   ///< a virtual machine that COMMAND starts, and to which the controller's port is left
};

struct SYSTEM_INTERFACE_NAME {
    std::string_view m_Name; ///< as on the command line
    SYSTEM_INTERFACE m_Interface;
};

constexpr SYSTEM_INTERFACE_NAME g_SystemInterfaces[] = {
    {"bridge", SYSTEM_INTERFACE::BRIDGE},
    {"none", SYSTEM_INTERFACE::NONE},
    {"machine", SYSTEM_INTERFACE::MACHINE},
    {"guest", SYSTEM_INTERFACE::GUEST},
};

/// The variable in COMMAND's environment that has the name.
constexpr char g_SystemInterfaceVariable[] = "BLADESIM_IPMI";

inline std::string NameOf(SYSTEM_INTERFACE a_Interface) {
    return std::string(std::ranges::find(g_SystemInterfaces, a_Interface, &SYSTEM_INTERFACE_NAME::m_Interface)->m_Name);
}

/// The blade has a controller of its own.
constexpr bool HasController(SYSTEM_INTERFACE a_Interface) {
    return a_Interface == SYSTEM_INTERFACE::BRIDGE || a_Interface == SYSTEM_INTERFACE::GUEST;
}

} // namespace BLADESIM
