// What a controller is asked during a capture: the requests of the plug-in's probe and LED reads, and those for SDRs.
#pragma once

#include "sim/capture/Conversation.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bladesim {

constexpr uint8_t AppNetFn = 0x06;
constexpr uint8_t StorageNetFn = 0x0A;
constexpr uint8_t PicmgNetFn = 0x2C;
constexpr uint8_t GetLedStateCommand = 0x08;

/// Whether it has completion code 0 and this many bytes, the code included.
inline bool IsGood(const Bytes& reply, size_t size) {
    return reply.size() >= size && reply[0] == 0;
}

/// The LEDs that a FRU has, by its reply to Get FRU LED Properties.
std::vector<uint8_t> LedIds(const Bytes& properties);

// The requests, by FRU.
Bytes AddressInfoOf(uint8_t fru);
Bytes LedPropertiesOf(uint8_t fru);
Bytes LedColorsOf(uint8_t fru, uint8_t led);
Bytes LedStateOf(uint8_t fru, uint8_t led);
Bytes AreaInfoOf(uint8_t fru);
Bytes AreaReadOf(uint8_t fru, size_t offset);
inline const Bytes DeviceIdRequest = {AppNetFn, 0x01};
inline const Bytes PicmgPropertiesRequest = {PicmgNetFn, 0x00, 0x00};

/// As much as the plug-in reads at a time.
constexpr size_t AreaChunk = 16;

} // namespace bladesim
