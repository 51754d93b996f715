// The address of the simulated driver's socket, the same for those who open and for the one who listens.
#pragma once

#include "sim/BridgePacket.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace BLADESIM {

constexpr auto g_DriverAddressLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof(g_DriverSocket));

inline sockaddr_un DriverAddress() {
    sockaddr_un l_Address{};
    l_Address.sun_family = AF_UNIX;
    // The first byte of the path stays 0, which makes the name an abstract one.
    std::memcpy(l_Address.sun_path + 1, g_DriverSocket, sizeof(g_DriverSocket) - 1);
    return l_Address;
}

} // namespace BLADESIM
