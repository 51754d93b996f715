// The calls of the kernel's device that are no messages: what they set and tell, per interface and per opener.
#pragma once

#include <linux/ipmi.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace BLADESIM {

struct CALL_RESULT {
    int m_Error = 0;             ///< the error number of the ioctl
    std::vector<uint8_t> m_Data; ///< what it writes back, if anything
};

/// The settings and registrations of one interface.
class INTERFACE_CALLS {
public:
    INTERFACE_CALLS();

    /// `a_Request` is the ioctl's number, `a_Argument` what its argument points to.
    CALL_RESULT Do(int a_Opener, uint32_t a_Request, const std::vector<uint8_t>& a_Argument);
    /// An opener has closed: what it registered for and set for itself goes with it.
    void Forget(int a_Opener);

private:
    struct CHANNEL {
        uint8_t m_Address = 0x20;
        // The kernel starts with this one, too: the SMS LUN.
        uint8_t m_Lun = 2;
    };

    struct REGISTRATION {
        int m_Opener;
        uint8_t m_NetFn;
        uint8_t m_Command;
        unsigned m_Channels; ///< one bit each
    };

    CALL_RESULT Channel(uint32_t a_Request, const ipmi_channel_lun_address_set& a_Value);
    CALL_RESULT ChannelZero(uint32_t a_Request, unsigned a_Value);
    CALL_RESULT MaintenanceMode(int a_Mode);
    CALL_RESULT Register(const REGISTRATION& a_New);
    CALL_RESULT Unregister(const REGISTRATION& a_Old);

    std::array<CHANNEL, IPMI_NUM_CHANNELS> m_Channels;
    int m_MaintenanceMode = IPMI_MAINTENANCE_MODE_AUTO;
    std::map<int, ipmi_timing_parms> m_Timing; ///< by opener
    std::vector<REGISTRATION> m_Registrations;
};

} // namespace BLADESIM
