// An open /dev/ipmi0, asked one request at a time by the ioctls of linux/ipmi.h.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/base/Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace bladesim {

inline constexpr char IpmiDeviceFile[] = "/dev/ipmi0";

class IpmiDevice {
public:
    /// Throws a BladeError that says why it cannot be opened.
    IpmiDevice();

    /// `request` is network function, command and data, for the controller itself. Returns completion code and data;
    /// nullopt when the driver gave none within half a minute. Throws a BladeError when the driver fails.
    std::optional<Bytes> Ask(const Bytes& request);

private:
    bm_dev::UniqueFd m_fd;
    long m_messageId = 0;
};

} // namespace bladesim
