// Gives an order to the blade in which this process runs.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace bladesim {

/// Sends an order by its name, with what else belongs to it, and returns the result. Throws a BladeError: there is no
/// controller to be spoken of here, or what the driver has against the order.
nlohmann::json GiveOrder(const std::string& name, nlohmann::json order = nlohmann::json::object());

/// What ipmi_sim answers to a command on its console, a line of JSON; null while the controller is stopped. Throws a
/// BladeError.
nlohmann::json AskConsole(const std::string& command);

/// The line of JSON in what the console has sent so far, without what else there is on a console (telnet options, the
/// echo of the command, the prompt). Empty until the line is whole. Throws a BladeError when the console has refused
/// the command.
std::string ConsoleAnswer(const std::string& received);

} // namespace bladesim
