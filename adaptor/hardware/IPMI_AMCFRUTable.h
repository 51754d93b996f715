// Parameter group 0x300: the AMCs' hardware facts.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

namespace BM_ADAPTOR {

/// Handlers of the group. Any host thread, several at once.
class AMC_FRU_TABLE {
public:
    explicit AMC_FRU_TABLE(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Fills the row of the AMC in the bay of key 0x303.
    /// @return 1; 12 when the key, the row, the AMC or its record is missing: the row may then have the key
    int ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// Makes the table of bays 1 to 8, which is the caller's. 1, with any number of rows.
    int ReadTable(CBMITable*& a_Table) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
