// What a controller of four FRUs answers to the probe: board, two AMCs and the RTM, all with one inventory area.
#pragma once

#include "readers/ProbeReader.h"

#include <algorithm>

namespace fuzzing {

inline constexpr uint8_t UsualLastFru = 3;

/// Completion code first.
inline Message UsualAnswer(const Message& request, const Area& area) {
    const auto at = [&](std::size_t place) { return place < request.size() ? request[place] : uint8_t{0}; };
    constexpr uint8_t siteTypes[] = {0, 7, 7, 9};
    switch (at(0) << 8 | at(1)) {
    case 0x2C00:
        return {0, 0, 0x22, UsualLastFru, 0};
    case 0x2C01:
        return {0, 0, 0x41, 0x82, 0xFF, at(3), at(3), siteTypes[at(3) % 4]};
    case 0x0601:
        return {0, 0x20, 1, 0x85, 0x42, 0x51, 0x29, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    case 0x2C05:
        return {0, 0, static_cast<uint8_t>((1U << at(3) % 5) - 1), 0};
    case 0x2C06:
        return {0, 0, static_cast<uint8_t>(2U << at(4) % 6), 1, 1};
    case 0x0A10:
        return {0, static_cast<uint8_t>(area.size()), static_cast<uint8_t>(area.size() >> 8), 0};
    case 0x0A11: {
        const auto offset = std::min(static_cast<std::size_t>(at(3) | at(4) << 8), area.size());
        const auto count = std::min<std::size_t>(at(5), area.size() - offset);
        Message answer = {0, static_cast<uint8_t>(count)};
        const auto first = area.begin() + static_cast<std::ptrdiff_t>(offset);
        answer.insert(answer.end(), first, first + static_cast<std::ptrdiff_t>(count));
        return answer;
    }
    case 0x0A22:
        return {0, 1, 0};
    case 0x0A23: { // ten records of eight bytes behind their headers
        const auto record = static_cast<unsigned>(at(4) | at(5) << 8);
        const Area bytes = {at(4), at(5), 0x51, 0x12, 8, 1, 2, 3, 4, 5, 6, 7, 8};
        Message answer = {0, static_cast<uint8_t>(record < 9 ? record + 1 : 0xFF),
                          static_cast<uint8_t>(record < 9 ? 0 : 0xFF)};
        for (std::size_t i = at(6); i < std::min<std::size_t>(at(6) + std::size_t{at(7)}, bytes.size()); ++i)
            answer.push_back(bytes[i]);
        return answer;
    }
    case 0x2C08:
        return {0, 0, 3, 0, 0, 3, 0x20, 0x10, 4, 7};
    default:
        return {0, 0};
    }
}

} // namespace fuzzing
