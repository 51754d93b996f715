// Faults as orders have them: JSON with the keys of the blade file, and the words of a command line.
#pragma once

#include "sim/driver/Faults.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace BLADESIM {

/// "2c 02 00 ff".
std::string HexText(const std::vector<uint8_t>& a_Bytes);

const char* FaultKindName(FAULT_KIND a_Kind);

/// An object of "faults" in a blade file. Throws a BLADE_ERROR that says which key is wrong.
FAULT FaultFromJson(const nlohmann::json& a_Fault);
/// The other way round: FaultFromJson makes the same fault of it.
nlohmann::json FaultToJson(const FAULT& a_Fault);
/// The same with its number and what it has hit.
nlohmann::json FaultToJson(const ORDERED_FAULT& a_Fault);

/// What a fault does, as words: the kind, then its argument or the bytes of its reply, in one word or several
/// ("reply", "00", "00 01").
void AddFaultWords(nlohmann::json& a_Fault, const std::vector<std::string>& a_Words);

} // namespace BLADESIM
