// What a blade file says of the board beside its controller: network interfaces, and the driver that is told of the
// PSTN.
#pragma once

#include "sim/blade/MacText.h"

#include <netinet/in.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace BLADESIM {

struct INTERNET_ADDRESS {
    in_addr m_Address{};
    in_addr m_Mask{};
};

struct ETHERNET_INTERFACE {
    std::string m_Name;
    MAC_ADDRESS m_Mac{};
    std::optional<INTERNET_ADDRESS> m_Address; ///< absent: it has none
};

enum class DRIVER_FILE_CALL { OPEN, WRITE };

/// Which calls of a kind fail, or are cut.
struct DRIVER_FILE_FAULT {
    DRIVER_FILE_CALL m_Call = DRIVER_FILE_CALL::OPEN;
    unsigned m_First = 1;          ///< hits the n-th such call of the blade's life
    unsigned m_Count = 0;          ///< and as many in all; 0: all that follow
    int m_Error = 0;               ///< the error number that it fails with
    std::optional<size_t> m_Bytes; ///< instead: a write takes this many bytes and leaves the rest
};

struct DRIVER_FILE {
    std::vector<DRIVER_FILE_FAULT> m_Faults;
};

struct BOARD {
    std::vector<ETHERNET_INTERFACE> m_Interfaces; ///< in the order in which the kernel lists them
    std::optional<DRIVER_FILE> m_DriverFile;      ///< absent: the driver is not loaded, its file is not there
};

} // namespace BLADESIM
