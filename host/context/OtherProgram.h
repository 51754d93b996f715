// A command that another program carries out.
#pragma once

#include <string>
#include <vector>

namespace bmhost {

/// The program takes this process's place. It is looked for beside this one, as in a build folder, then where it is
/// installed. Returns only by throwing std::runtime_error that names its file and the reason.
/// @param words  what follows its name
[[noreturn]] void BecomeProgram(const std::string& name, std::vector<std::string> words);

} // namespace bmhost
