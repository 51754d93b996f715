// How the driver has the controller stopped and started by the process whose child it is.
#include "sim/controller/ControllerOrders.h"

#include "sim/base/PassedFd.h"

#include <algorithm>
#include <array>

namespace BLADESIM {
namespace {

// The first byte of an answer; the text of an error follows.
constexpr char g_Done = 'd';
constexpr char g_Failed = 'f';
constexpr size_t g_MaxAnswer = 4096;

} // namespace

void SendOrder(int a_Socket, CONTROLLER_ORDER a_Order) {
    ::send(a_Socket, &a_Order, sizeof(a_Order), MSG_NOSIGNAL);
}

std::optional<CONTROLLER_ORDER> ReceiveOrder(int a_Socket) {
    CONTROLLER_ORDER l_Order{};
    if (::recv(a_Socket, &l_Order, sizeof(l_Order), 0) != sizeof(l_Order)) return std::nullopt;
    return l_Order;
}

void SendAnswer(int a_Socket, const CONTROLLER_ANSWER& a_Answer) {
    const std::string l_Packet = (a_Answer.m_Error.empty() ? g_Done : g_Failed) + a_Answer.m_Error;
    SendWithFd(a_Socket, l_Packet.data(), std::min(l_Packet.size(), g_MaxAnswer), a_Answer.m_VMPort.Get());
}

std::optional<CONTROLLER_ANSWER> ReceiveAnswer(int a_Socket) {
    std::array<char, g_MaxAnswer> l_Packet;
    int l_VMPort = -1;
    const ssize_t l_Size = ReceiveWithFd(a_Socket, l_Packet.data(), l_Packet.size(), l_VMPort);
    if (l_Size <= 0) return std::nullopt;
    return CONTROLLER_ANSWER{{l_Packet.begin() + 1, l_Packet.begin() + l_Size}, UNIQUE_FD(l_VMPort)};
}

} // namespace BLADESIM
