// The calls of the kernel's device other than messages: what they set and report, per interface and per opener.
#pragma once

#include <linux/ipmi.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace bladesim {

struct CallResult {
    int m_error = 0;             ///< the error number of the ioctl
    std::vector<uint8_t> m_data; ///< what it writes back, if anything
};

/// The settings and registrations of one interface.
class InterfaceCalls {
public:
    InterfaceCalls();

    /// `request` is the ioctl's number, `argument` what its argument points to.
    CallResult Do(int opener, uint32_t request, const std::vector<uint8_t>& argument);
    /// An opener has closed: its registrations and settings go with it.
    void Forget(int opener);

private:
    struct ChannelUse {
        uint8_t m_address = 0x20;
        // The SMS LUN, with which the kernel starts too.
        uint8_t m_lun = 2;
    };

    struct Registration {
        int m_opener;
        uint8_t m_netFn;
        uint8_t m_command;
        unsigned m_channels; ///< one bit each
    };

    CallResult Channel(uint32_t request, const ipmi_channel_lun_address_set& value);
    CallResult ChannelZero(uint32_t request, unsigned value);
    CallResult MaintenanceMode(int mode);
    CallResult Register(const Registration& added);
    CallResult Unregister(const Registration& old);

    std::array<ChannelUse, IPMI_NUM_CHANNELS> m_channels;
    int m_maintenanceMode = IPMI_MAINTENANCE_MODE_AUTO;
    std::map<int, ipmi_timing_parms> m_timing; ///< by opener
    std::vector<Registration> m_registrations;
};

} // namespace bladesim
