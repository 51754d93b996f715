// Gives an order to the blade in which this process runs.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace BLADESIM {

/// Sends an order by its name, with what else belongs to it, and returns the result. Throws a BLADE_ERROR: there is no
/// controller to be spoken of here, or what the driver has against the order.
nlohmann::json GiveOrder(const std::string& a_Name, nlohmann::json a_Order = nlohmann::json::object());

/// What ipmi_sim answers to a command on its console, a line of JSON; null while the controller is stopped. Throws a
/// BLADE_ERROR.
nlohmann::json AskConsole(const std::string& a_Command);

/// The line of JSON in what the console has sent so far, without what else there is on a console (telnet options, the
/// echo of the command, the prompt). Empty until the line is whole. Throws a BLADE_ERROR when the console has refused
/// the command.
std::string ConsoleAnswer(const std::string& a_Received);

} // namespace BLADESIM
