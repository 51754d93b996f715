// A firmware upgrade by the resident host: the image's bytes are sent, and the upgrade is followed to its end.
#pragma once

#include "host/client/HostClient.h"
#include "host/orders/Order.h"
#include "host/picture/Picture.h"

#include <string>
#include <vector>

namespace bmhost {

class Context;

/// The host goes on when this process ends. Throws what the client throws; UsageError where the file cannot be read.
OrderOutcome UpgradeByHost(HostClient& host, Context& context, const Order& order);

/// What the host logged as errors while the upgrade ran, by its answer to /v1/log. Empty where that is no such answer.
std::vector<std::string> ReasonsOfUpgrade(const nlohmann::ordered_json& log, const UpgradeFacts& upgrade);

/// "/v1/firmware?target=amc&bay=3&name=image.bin".
std::string PathOfUpgrade(const Order& order);

} // namespace bmhost
