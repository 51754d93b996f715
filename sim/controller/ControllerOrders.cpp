// How the driver has the controller's parent process stop and start it.
#include "sim/controller/ControllerOrders.h"

#include "sim/base/PassedFd.h"

#include <algorithm>
#include <array>

namespace bladesim {
namespace {

// The first byte of an answer; the text of an error follows.
constexpr char Done = 'd';
constexpr char Failed = 'f';
constexpr size_t MaxAnswer = 4096;

} // namespace

void SendOrder(int socket, ControllerOrder order) {
    ::send(socket, &order, sizeof(order), MSG_NOSIGNAL);
}

std::optional<ControllerOrder> ReceiveOrder(int socket) {
    ControllerOrder order{};
    if (::recv(socket, &order, sizeof(order), 0) != sizeof(order)) return std::nullopt;
    return order;
}

void SendAnswer(int socket, const ControllerAnswer& answer) {
    const std::string packet = (answer.m_error.empty() ? Done : Failed) + answer.m_error;
    SendWithFd(socket, packet.data(), std::min(packet.size(), MaxAnswer), answer.m_vmPort.Get());
}

std::optional<ControllerAnswer> ReceiveAnswer(int socket) {
    std::array<char, MaxAnswer> packet;
    int vmPort = -1;
    const ssize_t size = ReceiveWithFd(socket, packet.data(), packet.size(), vmPort);
    if (size <= 0) return std::nullopt;
    return ControllerAnswer{{packet.begin() + 1, packet.begin() + size}, bm_dev::UniqueFd(vmPort)};
}

} // namespace bladesim
