// FRU areas whose checksums are right; see the header.
#include "readers/FruArea.h"

#include <cstddef>

namespace fuzzing {

namespace {

constexpr std::size_t HeaderSize = 8;
constexpr std::size_t RecordHeaderSize = 5;

// Sets byte `at` so that it and the other bytes from `first` to `end` sum up to 0.
void Mend(Area& area, std::size_t first, std::size_t end, std::size_t at) {
    area[at] = 0;
    unsigned sum = 0;
    for (std::size_t i = first; i < end; ++i)
        sum += area[i];
    area[at] = static_cast<uint8_t>(-sum);
}

} // namespace

void MendHeaderOf(Area& area) {
    if (area.size() < HeaderSize) return;
    area[6] = 0;
    Mend(area, 0, HeaderSize, 7);
}

void MendRecordsOf(Area& area) {
    if (area.size() < HeaderSize || area[5] == 0) return;
    for (std::size_t at = 8U * area[5]; at + RecordHeaderSize <= area.size();) {
        const std::size_t data = at + RecordHeaderSize;
        const std::size_t end = data + area[at + 2];
        if (end > area.size()) return;
        Mend(area, data, end, at + 3);
        Mend(area, at, data, at + 4);
        if ((area[at + 1] & 0x80) != 0) return;
        at = end;
    }
}

} // namespace fuzzing
