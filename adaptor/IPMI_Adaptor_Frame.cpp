// The host as the receiver of the adaptor's events.
#include "adaptor/IPMI_Adaptor_Frame.h"

#include "bm/BaseAdaptor.h"
#include "common/veldo_common_protocol.h"

namespace BM_ADAPTOR {

int HOST_EVENTS::SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) {
    IBMAdaptorMgr* const l_Manager = m_Manager;
    return l_Manager != nullptr ? l_Manager->SendEvent(a_Event, a_Number, a_Params)
                                : static_cast<int>(RESULT_NOTHING_DONE);
}

} // namespace BM_ADAPTOR
