// How sockets are made: those of the blade's own parts, and connections to ipmi_sim's ports.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/base/DriverAddress.h"

#include <cstdint>
#include <string>

namespace bladesim {

/// A non-blocking socket of this type (SOCK_STREAM…) on which clients can connect from now on. `what` completes the
/// errors "no socket for …" and "the socket for … cannot be bound". Throws a BladeError.
bm_dev::UniqueFd ListenAt(const SocketAddress& address, int type, const std::string& what);

/// A stream connection; none, with errno, when it is refused. `purpose` completes the error "no socket …", which is
/// thrown as a BladeError when there is not even a socket.
bm_dev::UniqueFd ConnectTo(const SocketAddress& address, const std::string& purpose);

/// The same to a port of the loopback interface.
bm_dev::UniqueFd ConnectToPort(uint16_t port, const std::string& purpose);

} // namespace bladesim
