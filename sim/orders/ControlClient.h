// Gives an order to the blade in which this process runs.
#pragma once

#include "sim/base/DriverAddress.h"

#include <nlohmann/json.hpp>

#include <string>

namespace bladesim {

/// Sends an order with its arguments and returns the result. Throws a BladeError when there is no controller here, or
/// with the driver's reason for a refusal.
nlohmann::json GiveOrder(const std::string& name, nlohmann::json order = nlohmann::json::object());

/// The same to whoever takes orders at this address; `nobody` is the error when nobody does.
nlohmann::json GiveOrderAt(const SocketAddress& address, const char* nobody, const std::string& name,
                           nlohmann::json order = nlohmann::json::object());

/// ipmi_sim's answer to a command on its console, a line of JSON; null while the controller is stopped. Throws a
/// BladeError.
nlohmann::json AskConsole(const std::string& command);

/// The line of JSON in what the console has sent so far, without telnet options, echo and prompt. Empty until the line
/// is whole. Throws a BladeError when the console has refused the command.
std::string ConsoleAnswer(const std::string& received);

} // namespace bladesim
