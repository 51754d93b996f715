// Builds the bytes of a FRU inventory area from the texts and records of a blade file.
#pragma once

#include "sim/Blade.h"

#include <cstdint>
#include <vector>

namespace BLADESIM {

/// A text field holds 63 bytes at most.
constexpr size_t g_MaxFruText = 63;
/// A multirecord holds 255 bytes at most.
constexpr size_t g_MaxMultiRecord = 255;
/// The reader of the image asks for 16 bytes at a time and is done when the area ends exactly there.
constexpr size_t g_FruImageUnit = 16;

/// The image: common header, board info area, product info area, then the multirecords in the order of the file; no
/// internal use area and no chassis info area. The texts and records must fit (see above) and no text may have exactly
/// one byte, for which the format has no notation. The image is filled up with zeros to a multiple of 16 bytes.
std::vector<uint8_t> BuildFruImage(const FRU& a_FRU);

} // namespace BLADESIM
