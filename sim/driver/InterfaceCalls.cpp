// The calls of the kernel's device that are no messages: what they set and tell, per interface and per opener.
#include "sim/driver/InterfaceCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/ioctl.h>

namespace BLADESIM {
namespace {

// "Whatever the interface's own default is", for an opener that has set nothing.
constexpr ipmi_timing_parms g_DefaultTiming = {-1, 0};

constexpr auto g_AllChannels = static_cast<unsigned>(IPMI_CHAN_ALL);

/// The argument's size was compared with that of the request.
template <typename VALUE>
VALUE Read(const std::vector<uint8_t>& a_Argument) {
    VALUE l_Value;
    std::memcpy(&l_Value, a_Argument.data(), sizeof(l_Value));
    return l_Value;
}

template <typename VALUE>
CALL_RESULT Tell(const VALUE& a_Value) {
    CALL_RESULT l_Result;
    l_Result.m_Data.resize(sizeof(a_Value));
    std::memcpy(l_Result.m_Data.data(), &a_Value, sizeof(a_Value));
    return l_Result;
}

constexpr CALL_RESULT Fail(int a_Error) {
    return {a_Error, {}};
}

} // namespace

INTERFACE_CALLS::INTERFACE_CALLS() : m_Channels{} {}

CALL_RESULT INTERFACE_CALLS::Do(int a_Opener, uint32_t a_Request, const std::vector<uint8_t>& a_Argument) {
    if (_IOC_SIZE(a_Request) != a_Argument.size()) return Fail(EINVAL);
    switch (a_Request) {
    case IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD:
    case IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD:
    case IPMICTL_SET_MY_CHANNEL_LUN_CMD:
    case IPMICTL_GET_MY_CHANNEL_LUN_CMD:
        return Channel(a_Request, Read<ipmi_channel_lun_address_set>(a_Argument));
    case IPMICTL_SET_MY_ADDRESS_CMD:
        return ChannelZero(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, Read<unsigned>(a_Argument));
    case IPMICTL_GET_MY_ADDRESS_CMD:
        return ChannelZero(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, 0);
    case IPMICTL_SET_MY_LUN_CMD:
        return ChannelZero(IPMICTL_SET_MY_CHANNEL_LUN_CMD, Read<unsigned>(a_Argument));
    case IPMICTL_GET_MY_LUN_CMD:
        return ChannelZero(IPMICTL_GET_MY_CHANNEL_LUN_CMD, 0);

    case IPMICTL_SET_TIMING_PARMS_CMD:
        m_Timing[a_Opener] = Read<ipmi_timing_parms>(a_Argument);
        return {};
    case IPMICTL_GET_TIMING_PARMS_CMD:
        return Tell(m_Timing.contains(a_Opener) ? m_Timing[a_Opener] : g_DefaultTiming);
    case IPMICTL_GET_MAINTENANCE_MODE_CMD:
        return Tell(m_MaintenanceMode);
    case IPMICTL_SET_MAINTENANCE_MODE_CMD:
        return MaintenanceMode(Read<int>(a_Argument));

    case IPMICTL_REGISTER_FOR_CMD:
    case IPMICTL_UNREGISTER_FOR_CMD: {
        const auto l_Command = Read<ipmi_cmdspec>(a_Argument);
        const REGISTRATION l_Registration{a_Opener, l_Command.netfn, l_Command.cmd, g_AllChannels};
        return a_Request == IPMICTL_REGISTER_FOR_CMD ? Register(l_Registration) : Unregister(l_Registration);
    }
    case IPMICTL_REGISTER_FOR_CMD_CHANS:
    case IPMICTL_UNREGISTER_FOR_CMD_CHANS: {
        const auto l_Command = Read<ipmi_cmdspec_chans>(a_Argument);
        const REGISTRATION l_Registration{a_Opener, static_cast<uint8_t>(l_Command.netfn),
                                          static_cast<uint8_t>(l_Command.cmd), l_Command.chans};
        return a_Request == IPMICTL_REGISTER_FOR_CMD_CHANS ? Register(l_Registration) : Unregister(l_Registration);
    }
    // No event ever comes from this controller: whoever asks for them waits as on a quiet one.
    case IPMICTL_SET_GETS_EVENTS_CMD:
        return {};
    default:
        return Fail(ENOTTY);
    }
}

void INTERFACE_CALLS::Forget(int a_Opener) {
    m_Timing.erase(a_Opener);
    std::erase_if(m_Registrations, [=](const REGISTRATION& a_Known) { return a_Known.m_Opener == a_Opener; });
}

CALL_RESULT INTERFACE_CALLS::Channel(uint32_t a_Request, const ipmi_channel_lun_address_set& a_Value) {
    if (a_Value.channel >= m_Channels.size()) return Fail(EINVAL);
    CHANNEL& l_Channel = m_Channels[a_Value.channel];
    ipmi_channel_lun_address_set l_Told = a_Value;
    switch (a_Request) {
    case IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD:
        l_Channel.m_Address = a_Value.value;
        return {};
    case IPMICTL_SET_MY_CHANNEL_LUN_CMD:
        l_Channel.m_Lun = a_Value.value & 3;
        return {};
    case IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD:
        l_Told.value = l_Channel.m_Address;
        return Tell(l_Told);
    default:
        l_Told.value = l_Channel.m_Lun;
        return Tell(l_Told);
    }
}

/// The older calls know channel 0 only, and have an unsigned for the value.
CALL_RESULT INTERFACE_CALLS::ChannelZero(uint32_t a_Request, unsigned a_Value) {
    CALL_RESULT l_Result = Channel(a_Request, {0, static_cast<uint8_t>(a_Value)});
    if (l_Result.m_Data.empty()) return l_Result;
    return Tell(unsigned{Read<ipmi_channel_lun_address_set>(l_Result.m_Data).value});
}

CALL_RESULT INTERFACE_CALLS::MaintenanceMode(int a_Mode) {
    if (a_Mode < IPMI_MAINTENANCE_MODE_AUTO || a_Mode > IPMI_MAINTENANCE_MODE_ON) return Fail(EINVAL);
    m_MaintenanceMode = a_Mode;
    return {};
}

/// A command goes to one opener only.
CALL_RESULT INTERFACE_CALLS::Register(const REGISTRATION& a_New) {
    const bool l_Taken = std::any_of(m_Registrations.begin(), m_Registrations.end(), [&](const REGISTRATION& a_Known) {
        return a_Known.m_NetFn == a_New.m_NetFn && a_Known.m_Command == a_New.m_Command &&
               (a_Known.m_Channels & a_New.m_Channels) != 0;
    });
    if (l_Taken) return Fail(EBUSY);
    m_Registrations.push_back(a_New);
    return {};
}

CALL_RESULT INTERFACE_CALLS::Unregister(const REGISTRATION& a_Old) {
    bool l_Found = false;
    for (REGISTRATION& l_Known : m_Registrations) {
        const bool l_Meant = l_Known.m_Opener == a_Old.m_Opener && l_Known.m_NetFn == a_Old.m_NetFn &&
                             l_Known.m_Command == a_Old.m_Command && (l_Known.m_Channels & a_Old.m_Channels) != 0;
        if (!l_Meant) continue;
        l_Found = true;
        l_Known.m_Channels &= ~a_Old.m_Channels;
    }
    std::erase_if(m_Registrations, [](const REGISTRATION& a_Known) { return a_Known.m_Channels == 0; });
    return l_Found ? CALL_RESULT{} : Fail(ENOENT);
}

} // namespace BLADESIM
