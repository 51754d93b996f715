// Where in the image of an inventory area the serial numbers, the MAC addresses and the checksums are.
// Layout: IPMI Platform Management FRU Information Storage Definition, format version 1.
#include "sim/capture/FruLayout.h"

#include <algorithm>
#include <array>

namespace bladesim {
namespace {

constexpr size_t LayoutUnit = 8;
constexpr size_t MultiRecordOffset = 5;
constexpr uint8_t NoMoreFields = 0xC1;
constexpr uint8_t LengthMask = 0x3F;

struct InfoAreaPlace {
    size_t m_headerByte; ///< of the common header, with the area's offset
    size_t m_firstField; ///< within the area
    unsigned m_serial;   ///< which field the serial number is, counted from 0
};

// Chassis, board, product.
constexpr InfoAreaPlace InfoAreas[] = {{2, 3, 1}, {3, 6, 2}, {4, 3, 4}};

// The vendor record of an AMC: manufacturer, kind, an unused byte and a count; then type, MAC and an unused byte each.
constexpr uint8_t VendorType = 0xC0;
constexpr std::array<uint8_t, 5> AmcRecord = {0x57, 0x01, 0x00, 2, 0};
constexpr size_t RecordHead = 5;
constexpr uint8_t LastRecord = 0x80;
constexpr size_t FirstDsp = 6;
constexpr size_t DspSize = 8;
constexpr size_t MacInDsp = 1;
constexpr size_t MacSize = 6;

class LayoutFinder {
public:
    explicit LayoutFinder(std::span<const uint8_t> image) : m_image(image) {}

    FruLayout Find() {
        if (m_image.size() < LayoutUnit) return {};
        for (const InfoAreaPlace& area : InfoAreas) {
            if (m_image[area.m_headerByte] != 0) FindInArea(area, m_image[area.m_headerByte] * LayoutUnit);
        }
        if (m_image[MultiRecordOffset] != 0) FindInRecords(m_image[MultiRecordOffset] * LayoutUnit);
        return m_layout;
    }

private:
    void FindInArea(const InfoAreaPlace& area, size_t begin) {
        if (begin + area.m_firstField >= m_image.size()) return;
        const size_t end = begin + m_image[begin + 1] * LayoutUnit;
        if (end > begin && end <= m_image.size()) m_layout.m_checksums.push_back({begin, end, end - 1});
        FindSerial(begin + area.m_firstField, area.m_serial);
    }

    /// Whatever length the area gives: there are readers that look at its fields only.
    void FindSerial(size_t place, unsigned number) {
        for (unsigned field = 0; place < m_image.size() && m_image[place] != NoMoreFields; ++field) {
            const size_t size = m_image[place] & LengthMask;
            if (place + 1 + size > m_image.size()) return;
            if (field == number) {
                if (size != 0) m_layout.m_serials.push_back({place + 1, size, FieldCode(m_image[place] >> 6)});
                return;
            }
            place += 1 + size;
        }
    }

    void FindInRecords(size_t begin) {
        while (begin + RecordHead <= m_image.size()) {
            const size_t data = begin + RecordHead;
            const size_t end = data + m_image[begin + 2];
            if (end > m_image.size()) return;
            m_layout.m_checksums.push_back({data, end, begin + 3});
            m_layout.m_checksums.push_back({begin, begin + RecordHead, begin + 4});
            if (m_image[begin] == VendorType) FindMacs(data, end);
            if ((m_image[begin + 1] & LastRecord) != 0) return;
            begin = end;
        }
    }

    void FindMacs(size_t data, size_t end) {
        if (end - data < FirstDsp || !std::equal(AmcRecord.begin(), AmcRecord.end(), m_image.begin() + data)) return;
        for (size_t dsp = data + FirstDsp; dsp + MacInDsp + MacSize <= end; dsp += DspSize)
            m_layout.m_macs.push_back(dsp + MacInDsp);
    }

    std::span<const uint8_t> m_image;
    FruLayout m_layout;
};

} // namespace

FruLayout LayOut(std::span<const uint8_t> image) {
    return LayoutFinder(image).Find();
}

} // namespace bladesim
