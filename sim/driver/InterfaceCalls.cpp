// The calls of the kernel's device other than messages: what they set and report, per interface and per opener.
#include "sim/driver/InterfaceCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/ioctl.h>

namespace bladesim {
namespace {

// "The interface's own default", for an opener that has set nothing.
constexpr ipmi_timing_parms DefaultTiming = {-1, 0};

constexpr auto AllChannels = static_cast<unsigned>(IPMI_CHAN_ALL);

/// The caller has checked the argument's size.
template <typename Value>
Value Read(const std::vector<uint8_t>& argument) {
    Value value;
    std::memcpy(&value, argument.data(), sizeof(value));
    return value;
}

template <typename Value>
CallResult Tell(const Value& value) {
    CallResult result;
    result.m_data.resize(sizeof(value));
    std::memcpy(result.m_data.data(), &value, sizeof(value));
    return result;
}

constexpr CallResult Fail(int error) {
    return {error, {}};
}

} // namespace

InterfaceCalls::InterfaceCalls() : m_channels{} {}

CallResult InterfaceCalls::Do(int opener, uint32_t request, const std::vector<uint8_t>& argument) {
    if (_IOC_SIZE(request) != argument.size()) return Fail(EINVAL);
    switch (request) {
    case IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD:
    case IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD:
    case IPMICTL_SET_MY_CHANNEL_LUN_CMD:
    case IPMICTL_GET_MY_CHANNEL_LUN_CMD:
        return Channel(request, Read<ipmi_channel_lun_address_set>(argument));
    case IPMICTL_SET_MY_ADDRESS_CMD:
        return ChannelZero(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, Read<unsigned>(argument));
    case IPMICTL_GET_MY_ADDRESS_CMD:
        return ChannelZero(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, 0);
    case IPMICTL_SET_MY_LUN_CMD:
        return ChannelZero(IPMICTL_SET_MY_CHANNEL_LUN_CMD, Read<unsigned>(argument));
    case IPMICTL_GET_MY_LUN_CMD:
        return ChannelZero(IPMICTL_GET_MY_CHANNEL_LUN_CMD, 0);

    case IPMICTL_SET_TIMING_PARMS_CMD:
        m_timing[opener] = Read<ipmi_timing_parms>(argument);
        return {};
    case IPMICTL_GET_TIMING_PARMS_CMD:
        return Tell(m_timing.contains(opener) ? m_timing[opener] : DefaultTiming);
    case IPMICTL_GET_MAINTENANCE_MODE_CMD:
        return Tell(m_maintenanceMode);
    case IPMICTL_SET_MAINTENANCE_MODE_CMD:
        return MaintenanceMode(Read<int>(argument));

    case IPMICTL_REGISTER_FOR_CMD:
    case IPMICTL_UNREGISTER_FOR_CMD: {
        const auto command = Read<ipmi_cmdspec>(argument);
        const Registration registration{opener, command.netfn, command.cmd, AllChannels};
        return request == IPMICTL_REGISTER_FOR_CMD ? Register(registration) : Unregister(registration);
    }
    case IPMICTL_REGISTER_FOR_CMD_CHANS:
    case IPMICTL_UNREGISTER_FOR_CMD_CHANS: {
        const auto command = Read<ipmi_cmdspec_chans>(argument);
        const Registration registration{opener, static_cast<uint8_t>(command.netfn), static_cast<uint8_t>(command.cmd),
                                        command.chans};
        return request == IPMICTL_REGISTER_FOR_CMD_CHANS ? Register(registration) : Unregister(registration);
    }
    // This controller sends no events: an opener that asks for them waits, as with a quiet controller.
    case IPMICTL_SET_GETS_EVENTS_CMD:
        return {};
    default:
        return Fail(ENOTTY);
    }
}

void InterfaceCalls::Forget(int opener) {
    m_timing.erase(opener);
    std::erase_if(m_registrations, [=](const Registration& registered) { return registered.m_opener == opener; });
}

CallResult InterfaceCalls::Channel(uint32_t request, const ipmi_channel_lun_address_set& value) {
    if (value.channel >= m_channels.size()) return Fail(EINVAL);
    ChannelUse& channel = m_channels[value.channel];
    ipmi_channel_lun_address_set told = value;
    switch (request) {
    case IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD:
        channel.m_address = value.value;
        return {};
    case IPMICTL_SET_MY_CHANNEL_LUN_CMD:
        channel.m_lun = value.value & 3;
        return {};
    case IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD:
        told.value = channel.m_address;
        return Tell(told);
    default:
        told.value = channel.m_lun;
        return Tell(told);
    }
}

/// The older calls know channel 0 only, and pass the value as an unsigned.
CallResult InterfaceCalls::ChannelZero(uint32_t request, unsigned value) {
    CallResult result = Channel(request, {0, static_cast<uint8_t>(value)});
    if (result.m_data.empty()) return result;
    return Tell(unsigned{Read<ipmi_channel_lun_address_set>(result.m_data).value});
}

CallResult InterfaceCalls::MaintenanceMode(int mode) {
    if (mode < IPMI_MAINTENANCE_MODE_AUTO || mode > IPMI_MAINTENANCE_MODE_ON) return Fail(EINVAL);
    m_maintenanceMode = mode;
    return {};
}

/// A command goes to one opener only.
CallResult InterfaceCalls::Register(const Registration& added) {
    const bool taken = std::any_of(m_registrations.begin(), m_registrations.end(), [&](const Registration& registered) {
        return registered.m_netFn == added.m_netFn && registered.m_command == added.m_command &&
               (registered.m_channels & added.m_channels) != 0;
    });
    if (taken) return Fail(EBUSY);
    m_registrations.push_back(added);
    return {};
}

CallResult InterfaceCalls::Unregister(const Registration& old) {
    bool found = false;
    for (Registration& known : m_registrations) {
        const bool meant = known.m_opener == old.m_opener && known.m_netFn == old.m_netFn &&
                           known.m_command == old.m_command && (known.m_channels & old.m_channels) != 0;
        if (!meant) continue;
        found = true;
        known.m_channels &= ~old.m_channels;
    }
    std::erase_if(m_registrations, [](const Registration& registered) { return registered.m_channels == 0; });
    return found ? CallResult{} : Fail(ENOENT);
}

} // namespace bladesim
