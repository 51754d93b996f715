// Reads the inventory of one FRU from a blade file.
#include "sim/blade/InventoryReader.h"

#include "sim/blade/FruImage.h"
#include "sim/blade/HexText.h"
#include "sim/blade/MacText.h"

#include <optional>

namespace bladesim {
namespace {

// The vendor records of this system: type of the multirecord, manufacturer, kind and an unused byte.
constexpr uint8_t VendorRecordType = 0xC0;
constexpr uint8_t KindAMC = 2;
constexpr uint8_t KindRTM = 3;
// An AMC record has 6 bytes and 8 for each DSP, and must fit into a multirecord.
constexpr size_t MaxDSPs = 31;

std::vector<uint8_t> VendorRecord(uint8_t kind) {
    return {0x57, 0x01, 0x00, kind, 0};
}

std::vector<uint8_t> ReadBytes(JsonObject& object, const char* key, const std::string& text, size_t max) {
    const auto bytes = HexBytes(text);
    if (!bytes) object.Fail(key, "expected bytes as pairs of hexadecimal digits with blanks between");
    if (bytes->size() > max) object.Fail(key, "has more than " + std::to_string(max) + " bytes");
    return *bytes;
}

/// UTF-8 to the bytes of an image, ISO 8859-1; nullopt when a character has no such byte. The parser has checked that
/// every sequence is whole.
std::optional<std::string> Latin1(const std::string& text) {
    std::string bytes;
    for (size_t index = 0; index < text.size(); ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        if (byte < 0x80) {
            bytes += text[index];
        } else if ((byte & 0xFC) == 0xC0) { // two bytes, U+0080 to U+00FF
            bytes += static_cast<char>((byte << 6) | (text[++index] & 0x3F));
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

std::string FruText(JsonObject& object, const char* key) {
    const auto text = Latin1(object.Text(key));
    if (!text) object.Fail(key, "has a character that is not in ISO 8859-1");
    if (text->size() > MaxFruText) {
        object.Fail(key, "has " + std::to_string(text->size()) + " characters; a FRU text has 63 at most");
    }
    if (text->size() == 1) {
        object.Fail(key, "has one character, which a FRU text cannot have: none, or two to 63");
    }
    return *text;
}

BoardTexts ReadBoard(JsonObject object) {
    BoardTexts board;
    board.m_manufacturer = FruText(object, "manufacturer");
    board.m_productName = FruText(object, "product_name");
    board.m_serialNumber = FruText(object, "serial_number");
    board.m_partNumber = FruText(object, "part_number");
    object.RejectOthers();
    return board;
}

ProductTexts ReadProduct(JsonObject object) {
    ProductTexts product;
    product.m_manufacturer = FruText(object, "manufacturer");
    product.m_name = FruText(object, "name");
    product.m_partNumber = FruText(object, "part_number");
    product.m_version = FruText(object, "version");
    product.m_serialNumber = FruText(object, "serial_number");
    product.m_assetTag = FruText(object, "asset_tag");
    object.RejectOthers();
    return product;
}

MacAddress ReadMac(JsonObject& object) {
    const auto mac = MacBytes(object.Text("mac"));
    if (!mac) object.Fail("mac", "expected six bytes as in 02:00:5e:10:00:01");
    return *mac;
}

RawMultirecord ReadDSPs(JsonObject& inventory) {
    const auto dsps = inventory.Objects("dsps");
    if (dsps.empty() || dsps.size() > MaxDSPs) {
        inventory.Fail("dsps",
                       "expected 1 to " + std::to_string(MaxDSPs) + " DSPs, found " + std::to_string(dsps.size()));
    }
    RawMultirecord record{VendorRecordType, VendorRecord(KindAMC)};
    record.m_data.push_back(static_cast<uint8_t>(dsps.size()));
    for (JsonObject dsp : dsps) {
        record.m_data.push_back(dsp.Byte("type"));
        const auto mac = ReadMac(dsp);
        record.m_data.insert(record.m_data.end(), mac.begin(), mac.end());
        record.m_data.push_back(0); // unused
        dsp.RejectOthers();
    }
    return record;
}

RawMultirecord ReadFramers(JsonObject object) {
    RawMultirecord record{VendorRecordType, VendorRecord(KindRTM)};
    for (const char* key : {"count", "type", "trunks_per_framer"})
        record.m_data.push_back(object.Byte(key));
    object.RejectOthers();
    return record;
}

RawMultirecord ReadMultiRecord(JsonObject object) {
    RawMultirecord record;
    record.m_type = object.Byte("type");
    record.m_data = ReadBytes(object, "data", object.Text("data"), MaxMultiRecord);
    object.RejectOthers();
    return record;
}

BadChecksums ReadBadChecksums(JsonObject& object) {
    BadChecksums bad;
    for (const std::string& which : object.Texts("bad_checksums")) {
        if (which == "header") {
            bad.m_header = true;
        } else if (which == "areas") {
            bad.m_areas = true;
        } else if (which == "record-headers") {
            bad.m_recordHeaders = true;
        } else if (which == "record-data") {
            bad.m_recordData = true;
        } else {
            object.Fail("bad_checksums", "expected any of header, areas, record-headers, record-data");
        }
    }
    return bad;
}

/// Bytes as one text, or as a list of texts.
std::vector<uint8_t> ReadRaw(JsonObject& object) {
    std::string text;
    if (object.HasList("raw")) {
        for (const std::string& line : object.Texts("raw"))
            text += line + " ";
    } else {
        text = object.Text("raw");
    }
    return ReadBytes(object, "raw", text, MaxFruSize);
}

void CheckSize(const JsonObject& object, Inventory inventory) {
    const std::optional<size_t> wanted = inventory.m_size;
    if (wanted) inventory.m_size = 0;
    const size_t needed = BuildFruImage(inventory).size();
    if (wanted && *wanted < needed) {
        object.Fail("size", "texts and records need " + std::to_string(needed) + " bytes");
    }
    if (needed > MaxFruSize) {
        object.Fail("multirecords", "make an area of " + std::to_string(needed) + " bytes; 65535 are the most");
    }
}

} // namespace

Inventory ReadInventory(JsonObject object) {
    Inventory inventory;
    if (object.Has("raw")) {
        inventory.m_raw = ReadRaw(object);
        object.RejectOthers("cannot be given with raw, which is the whole image");
        return inventory;
    }
    if (object.Has("board")) inventory.m_board = ReadBoard(object.Object("board"));
    if (object.Has("product")) inventory.m_product = ReadProduct(object.Object("product"));
    if (object.Has("dsps")) inventory.m_multiRecords.push_back(ReadDSPs(object));
    if (object.Has("framers")) inventory.m_multiRecords.push_back(ReadFramers(object.Object("framers")));
    if (object.Has("multirecords")) {
        for (const JsonObject& record : object.Objects("multirecords"))
            inventory.m_multiRecords.push_back(ReadMultiRecord(record));
    }
    if (object.Has("bad_checksums")) inventory.m_badChecksums = ReadBadChecksums(object);
    if (object.Has("size")) inventory.m_size = static_cast<size_t>(object.Integer("size", 0, MaxFruSize));
    object.RejectOthers();
    CheckSize(object, inventory);
    return inventory;
}

} // namespace bladesim
