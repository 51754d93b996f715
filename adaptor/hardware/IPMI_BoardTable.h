// Parameter group 0x30000: the baseboard, and its reset.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// Handlers of the group. Any host thread, several at once.
class BOARD_TABLE {
public:
    explicit BOARD_TABLE(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Fills the row of the baseboard; the keys are not looked at.
    /// @return 1; 12 when the row, the baseboard, its FRU or its controller is missing: without the controller the row
    /// has
    ///         the FRU's texts
    int ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// Makes the table, which is the caller's: one row or none. The result is the row's.
    int ReadTable(CBMITable*& a_Table) const;
    /// Asks the controller for a cold reset of the board, and does not wait for its reply.
    /// @return 1, also when nothing could be sent; 12 without values
    int WriteParams(const CBMIParams* a_Values) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
