// The rows of a table as start-up takes them.
#pragma once

#include "bm/Params.h"

#include <vector>

namespace BM_ADAPTOR {

/// The table's rows, in order; they stay the table's. One that the host's library does not give is null.
inline std::vector<const CBMIParams*> RowsOf(const CBMITable& a_Table) {
    std::vector<const CBMIParams*> l_Rows;
    for (int i = 0; i < a_Table.GetSize(); ++i)
        l_Rows.push_back(a_Table.Get(i));
    return l_Rows;
}

} // namespace BM_ADAPTOR
