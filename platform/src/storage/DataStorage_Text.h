// The texts of a parameter's id, type and value in a storage file.
#pragma once

#include "bm/Params.h"

#include <optional>
#include <string>

namespace bm_storage {

/// Bytes below the blank, and 0x7F.
bool IsControl(char byte);

/// Decimal or 0x…
std::optional<unsigned> IdFromText(const std::string& text);
std::string IdToText(unsigned id);

std::optional<BM_ADAPTOR::BMIParamType_e> TypeFromText(const std::string& text);
/// Null for a type that the host protocol does not know.
const char* TypeToText(BM_ADAPTOR::BMIParamType_e type);

std::optional<bool> BoolFromText(const std::string& text);

/// Sets the value from the text; false when the text does not fit the parameter's type.
bool SetFromText(BM_ADAPTOR::CBMIParam& param, const std::string& text);
/// Printable ASCII: other bytes are written \xNN, a backslash is doubled.
std::string ValueToText(const BM_ADAPTOR::CBMIParam& param);

/// The beginning of a text in a form that fits a log line.
std::string Shown(const std::string& text);

} // namespace bm_storage
