// Reads what a blade file keeps of a real controller as it is: the records of its SDR repository, and single replies.
#pragma once

#include "sim/base/JsonReader.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace bladesim {

/// What ipmi_sim has room for: completion code and data.
constexpr size_t MaxKeptReply = 36;
/// An SDR has a header of 5 bytes; ipmi_sim takes 64 in all.
constexpr size_t SdrHeader = 5;
constexpr size_t MaxSdr = 64;

/// The key "sdrs".
std::vector<std::vector<uint8_t>> ReadRecords(JsonObject& root);

/// The key "replies", by the request's bytes.
std::map<std::vector<uint8_t>, std::vector<uint8_t>> ReadReplies(JsonObject& root);

} // namespace bladesim
