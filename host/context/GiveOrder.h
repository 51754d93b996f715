// Orders as commands give them: asked for where a slip would hurt, and shown with their outcome.
#pragma once

#include "host/orders/Order.h"

#include <string>

namespace bmhost {

class Context;
class Session;

constexpr const char* BoardResetQuestion = "bmhost: this resets the baseboard, and everything on it ends: reset it?";

/// Gives the order and shows its outcome: for people, or with --json as one line under this name. True when it was
/// carried out. Throws UsageError where it cannot be meant.
bool GiveOrder(Context& context, const std::string& name, const Order& order);

/// The same for what is asked about first, unless `yes`. What would be refused on simulated data is not asked about.
/// Throws UsageError where there is no terminal to ask on.
bool GiveConfirmed(Context& context, const std::string& name, const Order& order, const std::string& question,
                   bool yes);

/// Shows an outcome in the same way. True when the order was carried out.
bool ShowOutcome(const Context& context, const std::string& name, const OrderOutcome& outcome);

/// The line of --json: "op", "result", "good", "changed", the order's own values, "remarks", "reasons", "cure".
std::string OrderLine(const std::string& name, const OrderOutcome& outcome);

/// Carries an order out by an adaptor that is between init and fin; an upgrade to its end.
/// @param output  where the progress of an upgrade is shown
OrderOutcome CarryOutHere(Context& context, const Order& order, Session& session, int output);

/// Whether the order is an upgrade that is to be made.
bool Upgrades(const Order& order);

/// Who has the blade's lock meanwhile: "bmhost led set".
std::string ProgramOf(const Order& order);

/// True when whoever types at the terminal says so; otherwise tells that nothing was done.
bool ConfirmedAt(int terminal, const std::string& question);

} // namespace bmhost
