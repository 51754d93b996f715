// Faults in orders: as JSON with the keys of the blade file, and as words of a command line.
#pragma once

#include "sim/driver/Faults.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace bladesim {

/// "2c 02 00 ff".
std::string HexText(const std::vector<uint8_t>& bytes);

const char* FaultKindName(FaultKind kind);

/// An object of "faults" in a blade file. Throws a BladeError that says which key is wrong.
Fault FaultFromJson(const nlohmann::json& fault);
/// The inverse of FaultFromJson.
nlohmann::json FaultToJson(const Fault& fault);
/// The same with its number and what it has hit.
nlohmann::json FaultToJson(const OrderedFault& fault);

/// What a fault does, as words: the kind, then its argument or the bytes of its reply, in one word or several
/// ("reply", "00", "00 01").
void AddFaultWords(nlohmann::json& fault, const std::vector<std::string>& words);

} // namespace bladesim
