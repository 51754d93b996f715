// Gives an order to the blade in which this process runs.
#include "sim/orders/ControlClient.h"

#include "sim/base/Error.h"
#include "sim/base/Sockets.h"
#include "sim/controller/SimulatorConfig.h"
#include "sim/controller/SystemInterface.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <sstream>

namespace bladesim {
namespace {

using nlohmann::json;

// ipmi_sim answers a console command at once.
constexpr timeval ConsoleTime{10, 0};

const char* WhyNobodyListens() {
    const char* const interface = std::getenv(SystemInterfaceVariable);
    if (interface != nullptr && NameOf(SystemInterface::Machine) == interface)
        return "the controller is not here: this blade uses the machine's own /dev/ipmi0";
    return "this is not the inside of a blade with a controller";
}

void Send(const bm_dev::UniqueFd& socket, const std::string& line) {
    size_t sent = 0;
    while (sent < line.size()) {
        const ssize_t size = ::send(socket.Get(), line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (size < 0 && errno == EPIPE) return; // refused: the answer is there already, and says why
        if (size < 0) ThrowErrno("the blade takes no order");
        sent += static_cast<size_t>(size);
    }
}

/// Reads until `find` finds something in what has come.
std::string ReadUntil(const bm_dev::UniqueFd& socket, const std::function<std::string(const std::string&)>& find) {
    std::string received;
    std::array<char, 64 * 1024> bytes;
    for (;;) {
        const ssize_t size = ::recv(socket.Get(), bytes.data(), bytes.size(), 0);
        if (size < 0) ThrowErrno("the blade does not answer");
        if (size == 0) throw BladeError("the blade does not answer: it closed the connection");
        received.append(bytes.data(), static_cast<size_t>(size));
        std::string found = find(received);
        if (!found.empty()) return found;
    }
}

std::string FirstLine(const std::string& received) {
    return received.back() == '\n' ? received : "";
}

/// Telnet options are three bytes, the first of them 255.
std::string WithoutTelnetOptions(const std::string& received) {
    std::string text;
    for (size_t index = 0; index < received.size(); ++index) {
        if (received[index] == '\xFF')
            index += 2;
        else if (received[index] != '\r')
            text += received[index];
    }
    return text;
}

} // namespace

json GiveOrder(const std::string& name, json order) {
    return GiveOrderAt(ControlAddress(), WhyNobodyListens(), name, std::move(order));
}

json GiveOrderAt(const SocketAddress& address, const char* nobody, const std::string& name, json order) {
    order["order"] = name;
    const bm_dev::UniqueFd socket = ConnectTo(address, "to the blade");
    if (!socket) throw BladeError(nobody);
    Send(socket, order.dump(-1, ' ', false, json::error_handler_t::replace) + "\n");
    json answer = json::parse(ReadUntil(socket, FirstLine));
    if (answer.contains("error")) throw BladeError(answer["error"].get<std::string>());
    return std::move(answer["result"]);
}

json AskConsole(const std::string& command) {
    // Outside a blade this port may belong to another program.
    if (!GiveOrder("controller state").get<bool>()) return {};
    const bm_dev::UniqueFd socket = ConnectToPort(ConsolePort, "to the blade");
    if (!socket) ThrowErrno("the controller's console does not answer");
    ::setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &ConsoleTime, sizeof(ConsoleTime));
    Send(socket, command + "\n");
    return json::parse(ReadUntil(socket, ConsoleAnswer));
}

std::string ConsoleAnswer(const std::string& received) {
    std::istringstream lines(WithoutTelnetOptions(received));
    for (std::string line; std::getline(lines, line);) {
        const bool whole = !lines.eof();
        if (whole && (line.starts_with('[') || line.starts_with('{'))) return line;
        if (whole && line.starts_with("**")) throw BladeError("ipmi_sim says: " + line.substr(2));
    }
    return "";
}

} // namespace bladesim
