// How the driver has the controller stopped and started by the process whose child it is.
#pragma once

#include "sim/base/UniqueFd.h"

#include <cstdint>
#include <optional>
#include <string>

namespace bladesim {

enum class ControllerOrder : uint8_t { Stop, Start, Restart };

/// Each order has one answer, in the order of the orders.
struct ControllerAnswer {
    std::string m_error; ///< empty: it is done
    UniqueFd m_vmPort;   ///< of a controller that was started: connected, greeted, and it has answered
};

// Packets on a socket pair of type SOCK_SEQPACKET. What is received is nothing when the other side has ended.
void SendOrder(int socket, ControllerOrder order);
std::optional<ControllerOrder> ReceiveOrder(int socket);
void SendAnswer(int socket, const ControllerAnswer& answer);
std::optional<ControllerAnswer> ReceiveAnswer(int socket);

} // namespace bladesim
