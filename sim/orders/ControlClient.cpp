// Gives an order to the blade in which this process runs.
#include "sim/orders/ControlClient.h"

#include "sim/base/DriverAddress.h"
#include "sim/base/Error.h"
#include "sim/base/UniqueFd.h"
#include "sim/controller/SimulatorConfig.h"
#include "sim/controller/SystemInterface.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <sstream>

namespace BLADESIM {
namespace {

using nlohmann::json;

// ipmi_sim answers a console command at once.
constexpr timeval g_ConsoleTime{10, 0};

const char* WhyNobodyListens() {
    const char* const l_Interface = std::getenv(g_SystemInterfaceVariable);
    if (l_Interface != nullptr && NameOf(SYSTEM_INTERFACE::MACHINE) == l_Interface)
        return "the controller is not here: this blade uses the machine's own /dev/ipmi0";
    return "this is not the inside of a blade with a controller";
}

UNIQUE_FD Connect(const sockaddr* a_Address, socklen_t a_Length) {
    UNIQUE_FD l_Socket(::socket(a_Address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!l_Socket) ThrowErrno("no socket to the blade");
    if (::connect(l_Socket.Get(), a_Address, a_Length) != 0) l_Socket.Reset();
    return l_Socket;
}

void Send(const UNIQUE_FD& a_Socket, const std::string& a_Line) {
    size_t l_Sent = 0;
    while (l_Sent < a_Line.size()) {
        const ssize_t l_Size = ::send(a_Socket.Get(), a_Line.data() + l_Sent, a_Line.size() - l_Sent, MSG_NOSIGNAL);
        if (l_Size < 0 && errno == EPIPE) return; // refused: the answer is there already, and says why
        if (l_Size < 0) ThrowErrno("the blade takes no order");
        l_Sent += static_cast<size_t>(l_Size);
    }
}

/// Reads until there is something in it; what that is the caller knows.
std::string ReadUntil(const UNIQUE_FD& a_Socket, const std::function<std::string(const std::string&)>& a_Find) {
    std::string l_Received;
    std::array<char, 64 * 1024> l_Bytes;
    for (;;) {
        const ssize_t l_Size = ::recv(a_Socket.Get(), l_Bytes.data(), l_Bytes.size(), 0);
        if (l_Size < 0) ThrowErrno("the blade does not answer");
        if (l_Size == 0) throw BLADE_ERROR("the blade does not answer: it closed the connection");
        l_Received.append(l_Bytes.data(), static_cast<size_t>(l_Size));
        std::string l_Found = a_Find(l_Received);
        if (!l_Found.empty()) return l_Found;
    }
}

std::string FirstLine(const std::string& a_Received) {
    return a_Received.back() == '\n' ? a_Received : "";
}

/// Telnet options are three bytes, the first of them 255.
std::string WithoutTelnetOptions(const std::string& a_Received) {
    std::string l_Text;
    for (size_t l_Index = 0; l_Index < a_Received.size(); ++l_Index) {
        if (a_Received[l_Index] == '\xFF')
            l_Index += 2;
        else if (a_Received[l_Index] != '\r')
            l_Text += a_Received[l_Index];
    }
    return l_Text;
}

} // namespace

json GiveOrder(const std::string& a_Name, json a_Order) {
    a_Order["order"] = a_Name;
    const SOCKET_ADDRESS l_Address = ControlAddress();
    const UNIQUE_FD l_Socket = Connect(l_Address.Get(), l_Address.m_Length);
    if (!l_Socket) throw BLADE_ERROR(WhyNobodyListens());
    Send(l_Socket, a_Order.dump(-1, ' ', false, json::error_handler_t::replace) + "\n");
    json l_Answer = json::parse(ReadUntil(l_Socket, FirstLine));
    if (l_Answer.contains("error")) throw BLADE_ERROR(l_Answer["error"].get<std::string>());
    return std::move(l_Answer["result"]);
}

json AskConsole(const std::string& a_Command) {
    // Outside of a blade, whoever listens on this port is not to be bothered.
    if (!GiveOrder("controller state").get<bool>()) return {};
    sockaddr_in l_Address{};
    l_Address.sin_family = AF_INET;
    l_Address.sin_port = htons(g_ConsolePort);
    l_Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const UNIQUE_FD l_Socket = Connect(reinterpret_cast<const sockaddr*>(&l_Address), sizeof(l_Address));
    if (!l_Socket) ThrowErrno("the controller's console does not answer");
    ::setsockopt(l_Socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &g_ConsoleTime, sizeof(g_ConsoleTime));
    Send(l_Socket, a_Command + "\n");
    return json::parse(ReadUntil(l_Socket, ConsoleAnswer));
}

std::string ConsoleAnswer(const std::string& a_Received) {
    std::istringstream l_Lines(WithoutTelnetOptions(a_Received));
    for (std::string l_Line; std::getline(l_Lines, l_Line);) {
        const bool l_Whole = !l_Lines.eof();
        if (l_Whole && (l_Line.starts_with('[') || l_Line.starts_with('{'))) return l_Line;
        if (l_Whole && l_Line.starts_with("**")) throw BLADE_ERROR("ipmi_sim says: " + l_Line.substr(2));
    }
    return "";
}

} // namespace BLADESIM
