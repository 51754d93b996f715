// What each stand-in does when it is not told to fail, and what it prints.
#pragma once

#include <string>
#include <vector>

namespace BLADESIM {

/// Does a tool's work and returns what it prints. Throws a BLADE_ERROR. The arguments begin with the tool's own path.
std::string DoToolsWork(const std::string& a_RunFolder, const std::string& a_Tool,
                        const std::vector<std::string>& a_Arguments);

/// What a tool prints that ends with a status other than 0.
std::string ToolsComplaint(const std::string& a_Tool, int a_Exit);

} // namespace BLADESIM
