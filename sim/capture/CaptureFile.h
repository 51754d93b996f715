// A captured blade as a file: whole, or not at all.
#pragma once

#include "sim/capture/ReadController.h"

#include <string>

namespace bladesim {

/// Throws a BladeError when the file cannot be written there, before the controller is asked for minutes.
void CheckWritable(const std::string& file);

/// Writes the blade, reads it again and compares what it would answer with what was captured. Signals that end the
/// process wait meanwhile. Throws a BladeError, and leaves what was there before.
void WriteCaptured(const std::string& file, const Blade& blade, const CapturedController& captured);

} // namespace bladesim
