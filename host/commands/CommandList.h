// Every command that there is.
#pragma once

#include "host/words/Commands.h"

#include <memory>

namespace bmhost {

/// Registers each command. What is typed in a shell or a script is read by commands of its own.
std::unique_ptr<Commands> MakeCommands(Place place);

} // namespace bmhost
