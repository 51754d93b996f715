// Typed helpers for the host's rows and keys.
#pragma once

#include "common/veldo_common_protocol.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace BM_ADAPTOR {

/// The integer with this id, of either integer type; nothing when the set is null, has none, or has another type.
std::optional<int32_t> IntParam(const CBMIParams* a_Params, BMIParamId_e a_Id);
/// The boolean with this id; false when it is absent or of another type.
bool BoolParam(const CBMIParams* a_Params, BMIParamId_e a_Id);

/// The text with this id; nothing when the set is null, has none, or has another type.
std::optional<std::string> TextParam(const CBMIParams* a_Params, BMIParamId_e a_Id);

/// The table's rows, in order; they stay the table's. One that the host's library does not give is null.
std::vector<const CBMIParams*> RowsOf(const CBMITable& a_Table);

/// Add one parameter, a key or a value, to the end of the row.
void AddKey(CBMIParams& a_Row, BMIParamId_e a_Id, int32_t a_Value);
void AddInt(CBMIParams& a_Row, BMIParamId_e a_Id, int32_t a_Value);
void AddBool(CBMIParams& a_Row, BMIParamId_e a_Id, bool a_Value);
void AddText(CBMIParams& a_Row, BMIParamId_e a_Id, const std::string& a_Value);

} // namespace BM_ADAPTOR
