// The host's rows and tables with something missing in them: what the platform's own never do, and a host's library
// may.
#pragma once

#include "bm/Params.h"

#include <functional>

struct FAKE_PARAMS {
    /// Parameters that are not found though they are there.
    std::function<bool(const BM_ADAPTOR::CBMIParams& a_Row, unsigned a_Id)> m_Hides{};
    bool m_bHidesRows = false; ///< of every table
    int m_HiddenRow = -1;      ///< its index, in every table
};

/// Reset it with {}.
FAKE_PARAMS& FakeParams();
