// What a controller is asked during a capture: the requests of the plug-in's probe and LED reads, and those for SDRs.
#include "sim/capture/Requests.h"

namespace bladesim {
namespace {

constexpr uint8_t GeneralLeds = 0x0F;
constexpr uint8_t FirstOfApplication = 4;
constexpr uint8_t LastOfApplication = 0xFB;

} // namespace

std::vector<uint8_t> LedIds(const Bytes& properties) {
    std::vector<uint8_t> ids;
    if (!IsGood(properties, 3)) return ids;
    for (uint8_t id = 0; id < FirstOfApplication; ++id) {
        if ((properties[2] & GeneralLeds) >> id & 1) ids.push_back(id);
    }
    const unsigned application = properties.size() > 3 ? properties[3] : 0U;
    for (unsigned id = FirstOfApplication; id < FirstOfApplication + application && id <= LastOfApplication; ++id)
        ids.push_back(static_cast<uint8_t>(id));
    return ids;
}

Bytes AddressInfoOf(uint8_t fru) {
    return {PicmgNetFn, 0x01, 0, fru};
}
Bytes LedPropertiesOf(uint8_t fru) {
    return {PicmgNetFn, 0x05, 0, fru};
}
Bytes LedColorsOf(uint8_t fru, uint8_t led) {
    return {PicmgNetFn, 0x06, 0, fru, led};
}
Bytes LedStateOf(uint8_t fru, uint8_t led) {
    return {PicmgNetFn, GetLedStateCommand, 0, fru, led};
}
Bytes AreaInfoOf(uint8_t fru) {
    return {StorageNetFn, 0x10, fru};
}

Bytes AreaReadOf(uint8_t fru, size_t offset) {
    return {StorageNetFn,
            0x11,
            fru,
            static_cast<uint8_t>(offset),
            static_cast<uint8_t>(offset >> 8),
            static_cast<uint8_t>(AreaChunk)};
}

} // namespace bladesim
