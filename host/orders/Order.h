// What changes a blade, as people ask for it: checked, carried out, and told with its outcome. The same for a command
// with an adaptor of its own and for the resident host.
#pragma once

#include "host/picture/Picture.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

class Session;

/// An order as a client sends it: {"order": "led-set", "bay": 3, "led": 3, "action": "on", "color": "green"}.
/// The orders: led-set, dsp-set-ip, switch-set, board-reset, firmware-update, start, stop.
struct Order {
    std::string m_name;
    nlohmann::json m_values; ///< an object
};

/// What became of an order.
struct OrderOutcome {
    int32_t m_result = 0; ///< the adaptor's
    bool m_good = false;
    bool m_changed = false;
    std::string m_text;                 ///< what a person reads, in whole lines
    std::vector<std::string> m_remarks; ///< for standard error: what came out otherwise than asked
    std::vector<std::string> m_reasons; ///< the errors that the adaptor logged in this call
    std::string m_cure;                 ///< what to do, where it is known
    nlohmann::ordered_json m_values;    ///< what the order's JSON shows besides, an object
};

/// Whether the order may be carried out on simulated data: {"simulated": true} among its values.
constexpr const char* OrderTakesSimulated = "simulated";

/// The outcome of an order that would only seem to be carried out, because the data are simulated and that was not
/// asked for; it has "source" among its values. Nothing for start and stop, which find out what hardware there is, and
/// for a dry run.
std::optional<OrderOutcome> RefusedAsSimulated(const Order& order, const Source& source);
bool IsRefusedAsSimulated(const OrderOutcome& outcome);

/// Throws UsageError when these values make no order on any blade. CarryOut begins with it.
void CheckOrder(const Order& order);

/// Carries the order out. Throws UsageError, having changed nothing, where its values cannot be meant on this blade.
/// @param picture  of now, for what can be refused without asking the adaptor
OrderOutcome CarryOut(const Order& order, Session& session, const Picture& picture);

/// The outcome as the socket carries it: "order", "result", "good", "changed", "text", "remarks", "reasons", "cure",
/// and the order's own values after them.
nlohmann::ordered_json OrderOutcomeJson(const std::string& order, const OrderOutcome& outcome);
/// Throws std::runtime_error naming what is missing or of another type.
OrderOutcome OrderOutcomeOf(const nlohmann::ordered_json& fields);

} // namespace bmhost
