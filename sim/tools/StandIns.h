// What each stand-in does when it has no order to fail, and what it prints.
#pragma once

#include <string>
#include <vector>

namespace bladesim {

/// Does a tool's work and returns what it prints. Throws a BladeError. The arguments begin with the tool's own path.
std::string DoToolsWork(const std::string& runFolder, const std::string& tool,
                        const std::vector<std::string>& arguments);

/// What a tool prints that ends with a status other than 0.
std::string ToolsComplaint(const std::string& tool, int exit);

} // namespace bladesim
