// Builds the bytes of a FRU inventory area from the texts and records of a blade file.
#pragma once

#include "sim/blade/Blade.h"

#include <cstdint>
#include <vector>

namespace bladesim {

/// A text field holds 63 bytes at most.
constexpr size_t MaxFruText = 63;
/// A multirecord holds 255 bytes at most.
constexpr size_t MaxMultiRecord = 255;
/// The plug-in reads 16 bytes at a time and stops when the area ends exactly there.
constexpr size_t FruImageUnit = 16;

/// The largest size that an area can report.
constexpr size_t MaxFruSize = 0xFFFF;

/// The image: common header, board info area, product info area, then the multirecords in their order; no internal use
/// area and no chassis info area. The texts and records must fit (see above) and no text may have exactly one byte,
/// which the format cannot express. Zeros pad the image to the size wanted, if it is not larger already, or to a
/// multiple of 16 bytes when none is wanted. A raw image is used as it is, and may be empty.
std::vector<uint8_t> BuildFruImage(const Inventory& inventory);

} // namespace bladesim
