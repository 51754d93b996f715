// Rows as the resident host's calls carry them, as JSON and back.
#pragma once

#include "bm/Params.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace bmhost {

/// What came as JSON; discarded when it is none, or nests deeper than anything that a host tells: who walks through it
/// would run out of stack.
nlohmann::ordered_json JsonOfWire(const std::string& text);

/// [{"id":"0x303","type":1,"value":3}]; bytes above 0x7F are the characters of the same number.
nlohmann::json WireRow(const BM_ADAPTOR::CBMIParams& row);

/// Adds the parameters of [{"id","type","key","value"}] to the row. Throws std::runtime_error naming what is no
/// parameter.
void AddWireRow(const nlohmann::ordered_json& params, BM_ADAPTOR::CBMIParams& row);
/// A row, or none for null. Throws likewise.
std::unique_ptr<BM_ADAPTOR::CBMIParams> RowOfWire(const nlohmann::ordered_json& row);
std::unique_ptr<BM_ADAPTOR::CBMITable> TableOfWire(const nlohmann::ordered_json& rows);

/// "0x30200", or throws likewise.
unsigned NumberOfWire(const nlohmann::ordered_json& value);
int32_t IntegerOfWire(const nlohmann::ordered_json& value);

} // namespace bmhost
