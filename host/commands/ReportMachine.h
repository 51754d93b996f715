// What a report has of the machine: its software, the kernel's IPMI, the network, the storage's files.
#pragma once

#include "host/commands/ReportFolder.h"

#include <string>

namespace bmhost {

/// Versions, packages, network interfaces.
void PutMachine(ReportFolder& folder);
/// What the kernel knows of the controller.
void PutKernel(ReportFolder& folder);
/// @param storage  its folder
void PutStorage(ReportFolder& folder, const std::string& storage);

} // namespace bmhost
