// A slow reader of FRU areas to compare the parser with; see the header.
#include "readers/FruReader.h"

namespace fuzzing {

namespace {

class Reader {
public:
    explicit Reader(std::span<const uint8_t> area) : m_area(area) {}

    int Read(FruTexts& texts) const {
        if (At(6) != 0) return -1;
        if (Sum(0, 8) != 0) return -2;
        if (At(3) != 0) ReadFields(8U * At(3) + 6, texts.m_board); // after version, length, language and date
        if (At(4) != 0) {
            std::array<std::string, 6> fields;
            ReadFields(8U * At(4) + 3, fields); // after version, length and language
            texts.m_product = {fields[5], fields[1], fields[2], fields[3], fields[4]};
        }
        texts.m_records.clear();
        if (At(5) != 0) ReadRecords(8U * At(5), texts.m_records);
        return 0;
    }

private:
    unsigned At(std::size_t place) const { return place < m_area.size() ? m_area[place] : 0xFF; }

    unsigned Sum(std::size_t first, std::size_t count) const {
        unsigned sum = 0;
        for (std::size_t i = 0; i < count; ++i)
            sum += At(first + i);
        return sum % 256;
    }

    // A text ends at its first NUL; the field does not.
    template <std::size_t COUNT>
    void ReadFields(std::size_t place, std::array<std::string, COUNT>& texts) const {
        for (std::string& text : texts) {
            const unsigned typeLength = At(place++);
            const std::size_t length = typeLength == 0xC1 ? 0 : typeLength % 64;
            text.clear();
            for (std::size_t i = 0; i < length && At(place + i) != 0; ++i)
                text += static_cast<char>(At(place + i));
            place += length;
        }
    }

    // Up to the end of the list, or to a record with a wrong checksum.
    void ReadRecords(std::size_t place, std::vector<FruRecord>& records) const {
        for (;;) {
            const std::size_t length = At(place + 2);
            if (Sum(place, 5) != 0) return;
            if ((Sum(place + 5, length) + At(place + 3)) % 256 != 0) return;
            FruRecord& record = records.emplace_back();
            record.m_type = static_cast<int>(At(place));
            for (std::size_t i = 0; i < length; ++i)
                record.m_data += static_cast<char>(At(place + 5 + i));
            if (At(place + 1) >= 0x80) return;
            place += 5 + length;
        }
    }

    std::span<const uint8_t> m_area;
};

std::string Hex(const std::string& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0xF];
    }
    return text;
}

} // namespace

FruTexts TextsOf(const IPMI_FRU& fru) {
    FruTexts texts{{fru.m_BoardManufacturer, fru.m_BoardProductName, fru.m_BoardSerialNumber, fru.m_BoardPartNumber},
                   {fru.m_ProductManufacturer, fru.m_ProductName, fru.m_ProductPartModelNumber, fru.m_ProductVersion,
                    fru.m_ProductSerialNumber},
                   {}};
    for (const MULTIRECORD* record : fru.m_MultiRecords)
        texts.m_records.push_back({record->m_Type, {record->m_Data, record->m_Data + record->m_Length}});
    return texts;
}

int ReadFru(std::span<const uint8_t> area, FruTexts& texts) {
    return Reader(area).Read(texts);
}

std::string Shown(const FruTexts& texts) {
    std::string shown = "board";
    for (const std::string& text : texts.m_board)
        shown += " \"" + Hex(text) + '"';
    shown += ", product";
    for (const std::string& text : texts.m_product)
        shown += " \"" + Hex(text) + '"';
    for (const FruRecord& record : texts.m_records)
        shown += ", record " + std::to_string(record.m_type) + ": " + Hex(record.m_data);
    return shown;
}

} // namespace fuzzing
