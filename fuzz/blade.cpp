// Blade files. An input is the file's text.
#include "readers/FruReader.h"
#include "support/MemoryFile.h"
#include "support/Require.h"

#include "sim/base/Error.h"
#include "sim/blade/BladeFile.h"
#include "sim/blade/FruImage.h"
#include "sim/driver/FaultText.h"

#include <algorithm>
#include <optional>
#include <string_view>

using namespace bladesim;
using namespace fuzzing;

namespace {

// A refusal names the file, and a line that it has.
void CheckRefusal(const std::string& reason, const std::string& path, std::string_view text) {
    Require(reason.starts_with(path + ":"), "a refusal without its file: " + reason);
    const auto place = reason.substr(path.size() + 1);
    const auto line = std::strtoul(place.c_str(), nullptr, 10);
    const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
    Require(place.starts_with(" ") || (line >= 1 && line <= static_cast<unsigned long>(lines)),
            "a refusal without its line: " + reason);
}

std::string UpToNul(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

// The image, read by the slow reader, holds what the file says.
void CheckImage(const Inventory& inventory) {
    const std::vector<uint8_t> image = BuildFruImage(inventory);
    Require(image.size() <= MaxFruSize, "an image of " + std::to_string(image.size()) + " bytes");
    if (inventory.m_raw) {
        Require(image == *inventory.m_raw, "a raw image is another one");
        return;
    }
    const std::size_t size = inventory.m_size.value_or(0);
    Require(image.size() >= size && (size != 0 || image.size() % FruImageUnit == 0), "an image of another size");
    FruTexts texts;
    const int result = ReadFru(image, texts);
    const BadChecksums& bad = inventory.m_badChecksums;
    Require(result == (bad.m_header ? -2 : 0), "an image that reads " + std::to_string(result));
    if (result != 0) return;
    FruTexts expected;
    if (const auto& board = inventory.m_board)
        expected.m_board = {UpToNul(board->m_manufacturer), UpToNul(board->m_productName),
                            UpToNul(board->m_serialNumber), UpToNul(board->m_partNumber)};
    if (const auto& product = inventory.m_product) // the asset tag stands in for the manufacturer
        expected.m_product = {UpToNul(product->m_assetTag), UpToNul(product->m_name), UpToNul(product->m_partNumber),
                              UpToNul(product->m_version), UpToNul(product->m_serialNumber)};
    if (!bad.m_recordHeaders && !bad.m_recordData) {
        for (const RawMultirecord& record : inventory.m_multiRecords)
            expected.m_records.push_back({record.m_type, {record.m_data.begin(), record.m_data.end()}});
    }
    Require(texts == expected, "an image with " + Shown(texts) + "\nexpected " + Shown(expected));
}

void CheckLed(const Led& led) {
    const auto has = [&](LedColor color) { return (led.m_colors >> static_cast<unsigned>(color) & 1) != 0; };
    Require((led.m_colors & ~0x7E) == 0 && has(led.m_defaultLocalColor) && has(led.m_defaultOverrideColor),
            "an LED begins in a colour that it has not");
}

void CheckBlade(const Blade& blade) {
    Require(!blade.m_frus.empty() && blade.m_frus.front().m_id == 0, "a blade without its board");
    Require(std::is_sorted(blade.m_frus.begin(), blade.m_frus.end(),
                           [](const Fru& left, const Fru& right) { return left.m_id <= right.m_id; }),
            "FRU ids do not rise");
    Require(blade.m_controller.m_address != 0 && blade.m_controller.m_address % 2 == 0, "an odd address");
    for (const Fru& fru : blade.m_frus) {
        for (const Led& led : fru.m_leds)
            CheckLed(led);
        if (fru.m_inventory) CheckImage(*fru.m_inventory);
    }
    for (const Fault& fault : blade.m_faults) {
        const auto text = FaultToJson(fault);
        Require(FaultToJson(FaultFromJson(text)) == text, "a fault is read as another one: " + text.dump());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const MemoryFile& file = *new MemoryFile("blade");
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    file.Write(text);
    std::optional<Blade> blade;
    try {
        blade = ReadBladeFile(file.Path());
    } catch (const BladeError& refusal) {
        CheckRefusal(refusal.what(), file.Path(), text);
    }
    if (blade) CheckBlade(*blade);
    return 0;
}
