// Reads a shelf file: which blades stand in which slots. docs/shelf.md describes its keys.
#pragma once

#include "sim/shelf/ShelfPlan.h"

#include <string>
#include <vector>

namespace bladesim {

/// By rising slot. Throws a BladeError with file and line.
std::vector<ShelfPlace> ReadShelfFile(const std::string& file);

} // namespace bladesim
