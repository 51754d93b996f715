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
/// The reader of the image asks for 16 bytes at a time and is done when the area ends exactly there.
constexpr size_t FruImageUnit = 16;

/// The greatest size that an area can report.
constexpr size_t MaxFruSize = 0xFFFF;

/// The image: common header, board info area, product info area, then the multirecords in their order; no internal use
/// area and no chassis info area. The texts and records must fit (see above) and no text may have exactly one byte, for
/// which the format has no notation. The image is filled up with zeros to the size wanted, if it is not larger already,
/// or, when none is wanted, to a multiple of 16 bytes. A raw image stands as it is, and may be empty.
std::vector<uint8_t> BuildFruImage(const Inventory& inventory);

} // namespace bladesim
