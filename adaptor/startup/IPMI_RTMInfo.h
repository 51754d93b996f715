// Reads from the RTM's table what start-up must know of the RTM.
#pragma once

#include "adaptor/startup/IPMI_RTMValues.h"
#include "bm/Params.h"

#include <span>

namespace BM_ADAPTOR {

/// Made for one Init.
class RTM_INFO {
public:
    explicit RTM_INFO(RTM_VALUES& a_Values) : m_Values(a_Values) {}

    /// Takes what the table of group 0x400 gave. Without an RTM, framers and trunks stay as they are.
    /// @param a_Result  the read's result
    /// @param a_Rows    the table's rows; one that the host's library does not give is null
    /// @return 1; without an RTM the read's result; 0x30011, logged, when there is no row or it has no framers
    int Take(int a_Result, std::span<const CBMIParams* const> a_Rows);

private:
    int mKeepRow(const CBMIParams* a_Row);

    RTM_VALUES& m_Values;
};

} // namespace BM_ADAPTOR
