// How the driver has the controller stopped and started by the process whose child it is.
#pragma once

#include "sim/base/UniqueFd.h"

#include <cstdint>
#include <optional>
#include <string>

namespace BLADESIM {

enum class CONTROLLER_ORDER : uint8_t { STOP, START, RESTART };

/// Each order has one answer, in the order of the orders.
struct CONTROLLER_ANSWER {
    std::string m_Error; ///< empty: it is done
    UNIQUE_FD m_VMPort;  ///< of a controller that was started: connected, greeted, and it has answered
};

// Packets on a socket pair of type SOCK_SEQPACKET. What is received is nothing when the other side has ended.
void SendOrder(int a_Socket, CONTROLLER_ORDER a_Order);
std::optional<CONTROLLER_ORDER> ReceiveOrder(int a_Socket);
void SendAnswer(int a_Socket, const CONTROLLER_ANSWER& a_Answer);
std::optional<CONTROLLER_ANSWER> ReceiveAnswer(int a_Socket);

} // namespace BLADESIM
