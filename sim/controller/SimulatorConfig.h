// The two files from which ipmi_sim makes the controller of a blade.
#pragma once

#include "sim/blade/Blade.h"

#include <cstdint>
#include <string>

namespace bladesim {

// The ports are fixed: every blade has a network namespace of its own.
constexpr uint16_t LanPort = 9001;
constexpr uint16_t VMPort = 9002;
constexpr uint16_t ConsolePort = 9003;
constexpr char LanUser[] = "ipmiusr";
constexpr char LanPassword[] = "test";

/// The name under which ipmi_sim keeps its state, below "ipmi_sim" in its state folder.
constexpr char SimulatorName[] = "bladesim";

/// Byte "additional device support" of Get Device ID: sensors, SDR repository, SEL, FRU inventory, event receiver,
/// chassis.
constexpr uint8_t DeviceSupport = 0x9F;

/// The interfaces: LAN for ipmitool, VM port for the driver, console; and the carrier module with its blade file.
std::string SimulatorInterfaces(const Blade& blade, const std::string& moduleFile);

/// The commands that make the controller. The carrier module adds its FRUs.
std::string SimulatorCommands(const Blade& blade);

} // namespace bladesim
