// What a blade file says about the board besides its controller: network interfaces, and the driver that is told about
// the PSTN.
#pragma once

#include "sim/base/DriverFilePacket.h"
#include "sim/blade/MacText.h"

#include <netinet/in.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {

struct InternetAddress {
    in_addr m_address{};
    in_addr m_mask{};
};

struct EthernetInterface {
    std::string m_name;
    MacAddress m_mac{};
    std::optional<InternetAddress> m_address; ///< absent: it has none
};

enum class DriverFileCall { Open, Write };

/// Which calls of a kind fail, or are cut short.
struct DriverFileFault {
    DriverFileCall m_call = DriverFileCall::Open;
    unsigned m_first = 1;          ///< the first such call of the blade's life that it hits, counted from 1
    unsigned m_count = 0;          ///< how many it hits in all; 0: all that follow
    int m_error = 0;               ///< the error number that it fails with
    std::optional<size_t> m_bytes; ///< instead of an error: a write takes this many bytes and leaves the rest
};

struct DriverFile {
    std::vector<DriverFileFault> m_faults;
};

struct Board {
    std::vector<EthernetInterface> m_interfaces; ///< in the order in which the kernel lists them
    std::optional<DriverFile> m_driverFile;      ///< absent: the driver is not loaded, its file is not there
};

} // namespace bladesim
