// What the hardware tables have in common: how their handlers begin, and the FRU that a row is made of.
#include "adaptor/hardware/IPMI_HardwareTable.h"

#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR {

void LogUnlessStarted(const ADAPTOR_FRAME& a_Frame, CHECKED_TEXT<1> a_Line) {
    const int32_t l_State = a_Frame.m_State;
    if (l_State != ADAPTOR_STARTED) ErrorText(a_Frame.m_Logger, a_Line, l_State);
}

CBMITable& BeginTable(const ADAPTOR_FRAME& a_Frame, CBMITable*& a_Table, CHECKED_TEXT<1> a_Line) {
    a_Table = new CBMITable;
    LogUnlessStarted(a_Frame, a_Line);
    return *a_Table;
}

std::optional<HARDWARE_FACTS> FindHardwareWithFRU(const ADAPTOR_FRAME& a_Frame, int32_t a_EntityID,
                                                  std::optional<int32_t> a_Bay, const char* a_NoEntity,
                                                  const char* a_NoFRU) {
    auto l_Entity = FindHardware(a_EntityID, a_Bay);
    if (l_Entity && l_Entity->m_FRU) return l_Entity;
    if (const char* const l_Line = l_Entity ? a_NoFRU : a_NoEntity; l_Line != nullptr)
        LogLine(a_Frame.m_Logger, BM_LOG_ERROR, l_Line);
    return std::nullopt;
}

} // namespace BM_ADAPTOR
