// An event that the adaptor has sent.
#pragma once

#include "bm/Params.h"

namespace bmhost {

struct AdaptorEvent {
    unsigned m_event = 0;
    unsigned m_number = 0;
    BM_ADAPTOR::CBMIEvParams m_params;
};

} // namespace bmhost
