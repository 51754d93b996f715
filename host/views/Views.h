// What people see of a blade: its picture as tables.
#pragma once

#include "host/output/Style.h"
#include "host/picture/Picture.h"

#include <string>

namespace bmhost {

/// Board, modules, and what the modules carry.
std::string InventoryText(const Picture& picture, const Style& style);
/// Every LED, with the age of its reading when a resident host has read it.
std::string LedsText(const Picture& picture, const Style& style);
/// Each place with run status and LEDs, then health, controller, upgrade, the last fault, and calls under way.
std::string StatusText(const Picture& picture, const Style& style);
std::string DspsText(const Picture& picture, const Style& style);
std::string PortsText(const Picture& picture, const Style& style);
/// The last firmware upgrade, or that there was none yet.
std::string UpgradeText(const Picture& picture);

/// Whether each of them shows all that it should, and nothing that is wrong. For the status this is IsGood.
bool InventoryIsGood(const Picture& picture);
bool LedsAreGood(const Picture& picture);
bool DspsAreGood(const Picture& picture);
bool PortsAreGood(const Picture& picture);
bool UpgradeIsGood(const Picture& picture);

/// What the storage said of addresses or states that are not there, in whole lines.
std::string DspsRemarks(const Picture& picture);
std::string PortsRemarks(const Picture& picture);

/// Why `Init` did not return 1, in whole lines; empty when it did.
std::string InitRemarks(const Picture& picture);

/// "simulated inventory: /dev/ipmi0: Permission denied"; empty for the hardware's.
std::string SourceText(const Source& source);

/// The hardware's bytes: beyond ASCII where the terminal has the characters, else '?'.
std::string HardwareText(const std::string& bytes, const Style& style);

} // namespace bmhost
