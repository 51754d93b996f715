// One value set at an OpenIPMI control: the cold reset of an entity. No handler uses it; a board's reset goes through
// the probe.
#pragma once

#include "bm/OSAL.h"
#include "ipmi/model/IPMI_Model.h"

#include <OpenIPMI/ipmiif.h>

#include <optional>

namespace BM_ADAPTOR {

class CONTROL_REQUEST {
public:
    /// Copies the entity's cold reset control, if it has one. The caller holds the model's lock; Reset needs none.
    explicit CONTROL_REQUEST(const IPMI_ENTITY& a_Entity);
    CONTROL_REQUEST(const CONTROL_REQUEST&) = delete;
    CONTROL_REQUEST& operator=(const CONTROL_REQUEST&) = delete;
    virtual ~CONTROL_REQUEST() = default;

    /// Sets the control and blocks until OpenIPMI reports completion on its own thread; not to be called there.
    /// @return 0, or OpenIPMI's error: ENOENT without a control, at once when the request is refused
    int Reset();

    // What OpenIPMI calls; the static ones end the process when they get no request.
    static void s_ID2Pointer_Handler(ipmi_control_t* a_Control, void* a_UserData);
    static void s_SetValComplete(ipmi_control_t* a_Control, int a_Err, void* a_UserData);
    void ID2Pointer_Handler(ipmi_control_t* a_Control);
    void SetValComplete(int a_Err);

private:
    std::optional<IPMI_CONTROL> m_Control;
    OSAL::OSALMutex m_Latch; ///< unlocked by the completion
    int m_Result = 0;
};

} // namespace BM_ADAPTOR
