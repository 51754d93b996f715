// One value set at an OpenIPMI control: the cold reset of an entity.
#include "adaptor/hardware/IPMI_ControlRequest.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Callback.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <vector>

namespace BM_ADAPTOR {

CONTROL_REQUEST::CONTROL_REQUEST(const IPMI_ENTITY& a_Entity) {
    const std::string l_Name = FormatText("(r0.%i.%i.0).cold reset", a_Entity.m_Address, a_Entity.m_EntityID);
    const auto l_Found = a_Entity.m_ControlMap.find(l_Name);
    if (l_Found != a_Entity.m_ControlMap.end() && l_Found->second != nullptr) m_Control = *l_Found->second;
}

int CONTROL_REQUEST::Reset() {
    assert(!InCallback()); // it would wait for itself
    if (!m_Control) return ENOENT;
    m_Latch.Lock();
    const int l_Refused = ipmi_control_pointer_cb(m_Control->m_ControlID, s_ID2Pointer_Handler, this);
    if (l_Refused == 0) m_Latch.Lock(); // waits for the completion
    m_Latch.Unlock();
    const int l_Result = l_Refused != 0 ? l_Refused : m_Result;
    LogTrace(g_Logger2, "CONTROL_REQUEST::Reset - %s returning %i", m_Control->m_Name.c_str(), l_Result);
    return l_Result;
}

void CONTROL_REQUEST::s_ID2Pointer_Handler(ipmi_control_t* a_Control, void* a_UserData) {
    EnterCallback<CONTROL_REQUEST>(a_UserData, "CONTROL_REQUEST::s_ID2Pointer_Handler",
                                   [&](CONTROL_REQUEST& a_Self) { a_Self.ID2Pointer_Handler(a_Control); });
}

void CONTROL_REQUEST::ID2Pointer_Handler(ipmi_control_t* a_Control) {
    const auto l_Count = static_cast<std::size_t>(std::max(ipmi_control_get_num_vals(a_Control), 1));
    std::vector<int> l_Values(l_Count, 1); // OpenIPMI reads as many as the control has
    const int l_Refused = ipmi_control_set_val(a_Control, l_Values.data(), s_SetValComplete, this);
    if (l_Refused != 0) SetValComplete(l_Refused);
}

void CONTROL_REQUEST::s_SetValComplete(ipmi_control_t*, int a_Err, void* a_UserData) {
    EnterCallback<CONTROL_REQUEST>(a_UserData, "CONTROL_REQUEST::s_SetValComplete",
                                   [&](CONTROL_REQUEST& a_Self) { a_Self.SetValComplete(a_Err); });
}

void CONTROL_REQUEST::SetValComplete(int a_Err) {
    m_Result = a_Err;
    m_Latch.Unlock(); // last: the waiting thread may delete the request at once
}

} // namespace BM_ADAPTOR
