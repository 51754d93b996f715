// A firmware upgrade by an adaptor of this process, followed to its end.
#pragma once

#include "host/orders/Order.h"

#include <string>

namespace bmhost {

/// Between init and fin. Copies the image, begins the upgrade and follows it, telling so on the descriptor: on a
/// terminal second by second. An output that nobody reads does not end it.
/// @param order  firmware-update, whose path is the client's file
/// @param output  -1: nothing is told
/// @param progress  whether more than the end is told
OrderOutcome UpgradeToTheEnd(const Order& order, Session& session, const Picture& picture, int output, bool progress);

} // namespace bmhost
