// Conversions between an LED's setting and the host's rows, and the request that reads or sets a light through
// OpenIPMI.
#pragma once

#include "bm/OSAL.h"
#include "bm/Params.h"
#include "common/veldo_common_protocol.h"
#include "ipmi/model/IPMI_LEDState.h"
#include "ipmi/model/IPMI_Model.h"

#include <OpenIPMI/ipmiif.h>

#include <cstdint>

namespace BM_ADAPTOR {

/// Convert a row of the internal groups 0x100 (baseboard) and 0x200 (AMC) to a state. They return false and leave the
/// state alone when the row is null or lacks on time, off time or local control; integers of either type count.
bool ConvertInternalRowToState(const CBMIParams* a_Row, LED_STATE* a_State);
bool ConvertInternalAMCRowToState(const CBMIParams* a_Row, LED_STATE* a_State);
/// Append a state to an internal row. A null row ends the process with status 1.
void ConvertStateToInternalRow(CBMIParams* a_Row, const LED_STATE& a_State);
void ConvertStateToInternalAMCRow(CBMIParams* a_Row, const LED_STATE& a_State);
/// Append a state, as colour code and blink mode, to a row of group 0x30100 or 0x30300. A null row is ignored.
void ConvertStateToExternalRow(CBMIParams* a_Row, const LED_STATE& a_State);
void ConvertStateToExternalAMCRow(CBMIParams* a_Row, const LED_STATE& a_State);

/// Reads or sets one light through its OpenIPMI control. Read and Write block the calling host thread, without a
/// time-out, until OpenIPMI reports completion on the domain thread; they must not be called on that thread. When
/// OpenIPMI refuses the request, nothing completes it and the caller stays blocked. A request serves one thread at a
/// time.
class OPENIPMI_LED_REQUEST {
public:
    /// @param a_Control  its OpenIPMI control id names the light; stays the caller's and must outlive the request
    explicit OPENIPMI_LED_REQUEST(IPMI_CONTROL* a_Control);
    OPENIPMI_LED_REQUEST(const OPENIPMI_LED_REQUEST&) = delete;
    OPENIPMI_LED_REQUEST& operator=(const OPENIPMI_LED_REQUEST&) = delete;
    virtual ~OPENIPMI_LED_REQUEST() = default;

    /// Fills the state; `m_Valid` stays 0 when the light could not be read.
    void Read();
    /// Applies the state.
    void Write();

    // OpenIPMI calls these. The static ones end the process when they get no request.
    static void s_ID2Pointer_Handler(ipmi_control_t* a_Control, void* a_UserData);
    static void s_GetLightComplete_Handler(ipmi_control_t* a_Control, int a_Err, ipmi_light_setting_t* a_Settings,
                                           void* a_UserData);
    static void s_SetLightComplete_Handler(ipmi_control_t* a_Control, int a_Err, void* a_UserData);
    void ID2Pointer_Handler(ipmi_control_s* a_Control);
    void GetLightComplete_Handler(int a_Err, ipmi_light_setting_s* a_Settings);
    void SetLightComplete_Handler(int a_Err);

private:
    enum MODE_e : int32_t { IDLE = 0, READ = 1, WRITE = 2 };

    void Wait(MODE_e a_Mode);
    void ReadLight(ipmi_control_s* a_Control);
    void WriteLight(ipmi_control_s* a_Control);

    int32_t m_Mode = IDLE;

public:
    LED_STATE m_State; ///< what Write applies and Read fills; the caller's while neither runs

private:
    OSAL::OSALMutex m_Latch; ///< unlocked by whichever handler completes the request
    IPMI_CONTROL* m_Control;
};

} // namespace BM_ADAPTOR
