// How the driver has the controller's parent process stop and start it.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <cstdint>
#include <optional>
#include <string>

namespace bladesim {

enum class ControllerOrder : uint8_t { Stop, Start, Restart };

/// Each order gets one answer; answers come in the order of the orders.
struct ControllerAnswer {
    std::string m_error;       ///< empty: done
    bm_dev::UniqueFd m_vmPort; ///< of a controller that was started: connected, greeted, and it has answered
};

// Packets on a socket pair of type SOCK_SEQPACKET. Receiving gives nullopt when the other side has ended.
void SendOrder(int socket, ControllerOrder order);
std::optional<ControllerOrder> ReceiveOrder(int socket);
void SendAnswer(int socket, const ControllerAnswer& answer);
std::optional<ControllerAnswer> ReceiveAnswer(int socket);

} // namespace bladesim
