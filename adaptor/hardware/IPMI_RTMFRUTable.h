// Parameter group 0x400: the RTM's framers.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// Handlers of the group. Any host thread, several at once.
class RTM_FRU_TABLE {
public:
    explicit RTM_FRU_TABLE(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Fills the row of the RTM; the keys are not looked at.
    /// @return 1; 12 when the row, the RTM or its record is missing, or the override says that there is no RTM
    int ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// Makes the table, which is the caller's: one row or none. The result is the row's.
    int ReadTable(CBMITable*& a_Table) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
