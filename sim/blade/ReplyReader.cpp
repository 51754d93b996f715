// Reads what a blade file keeps of a real controller as it is: the records of its SDR repository, and single replies.
#include "sim/blade/ReplyReader.h"

#include "sim/base/BridgePacket.h"
#include "sim/blade/HexText.h"

#include <string>

namespace bladesim {
namespace {

constexpr size_t LengthByte = 4;
// Network function and command.
constexpr size_t ShortestRequest = 2;

std::vector<uint8_t> BytesAt(JsonObject& object, const char* key, size_t min, size_t max) {
    const auto bytes = HexBytes(object.Text(key));
    if (!bytes || bytes->size() < min || bytes->size() > max) {
        object.Fail(key, "expected " + std::to_string(min) + " to " + std::to_string(max) +
                             " bytes as pairs of hexadecimal digits with blanks between");
    }
    return *bytes;
}

} // namespace

std::vector<std::vector<uint8_t>> ReadRecords(JsonObject& root) {
    std::vector<std::vector<uint8_t>> records;
    for (const std::string& text : root.Texts("sdrs")) {
        const auto record = HexBytes(text);
        const std::string key = JsonPath("sdrs", records.size());
        if (!record || record->size() < SdrHeader || record->size() > MaxSdr) {
            root.Fail(key, "expected 5 to 64 bytes as pairs of hexadecimal digits with blanks between");
        }
        const size_t length = SdrHeader + (*record)[LengthByte];
        if (record->size() != length) {
            root.Fail(key, "has " + std::to_string(record->size()) + " bytes; by its header there are " +
                               std::to_string(length));
        }
        records.push_back(*record);
    }
    return records;
}

std::map<std::vector<uint8_t>, std::vector<uint8_t>> ReadReplies(JsonObject& root) {
    std::map<std::vector<uint8_t>, std::vector<uint8_t>> replies;
    for (JsonObject object : root.Objects("replies")) {
        const auto request = BytesAt(object, "request", ShortestRequest, MaxMessage);
        if (!replies.emplace(request, BytesAt(object, "reply", 1, MaxKeptReply)).second) {
            object.Fail("request", "has a reply already");
        }
        object.RejectOthers();
    }
    return replies;
}

} // namespace bladesim
