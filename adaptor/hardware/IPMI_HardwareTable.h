// What the hardware tables have in common: how their handlers begin, the FRU that a row is made of, and the rows of a
// table, which are those of single reads.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "adaptor/hardware/IPMI_HardwareFacts.h"
#include "bm/Params.h"
#include "common/veldo_common_checked.h"
#include "common/veldo_common_protocol.h"

#include <cstdint>
#include <optional>

namespace BM_ADAPTOR {

/// Logs the line, which prints the state, when the adaptor is not started. The handler answers nevertheless: the check
/// is for the log only.
void LogUnlessStarted(const ADAPTOR_FRAME& a_Frame, CHECKED_TEXT<1> a_Line);

/// Begins a table: makes it, which is the caller's, and does what LogUnlessStarted does.
CBMITable& BeginTable(const ADAPTOR_FRAME& a_Frame, CBMITable*& a_Table, CHECKED_TEXT<1> a_Line);

/// The entity as FindHardware finds it, when it has a FRU; else nothing, and the error is logged.
/// @param a_NoEntity  the error when there is no such entity; null: none
std::optional<HARDWARE_FACTS> FindHardwareWithFRU(const ADAPTOR_FRAME& a_Frame, int32_t a_EntityID,
                                                  std::optional<int32_t> a_Bay, const char* a_NoEntity,
                                                  const char* a_NoFRU);

/// Adds the row that `a_Read` fills to the table when its result is 1.
/// @param a_Read  int (CBMIParams&)
/// @return its result
template <typename READ>
int AddRowRead(CBMITable& a_Table, READ a_Read) {
    CBMIParams l_Row;
    const int l_Result = a_Read(l_Row);
    if (l_Result == RESULT_OK) a_Table.AddRow(l_Row);
    return l_Result;
}

} // namespace BM_ADAPTOR
