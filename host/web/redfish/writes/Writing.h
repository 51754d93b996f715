// What a request to change something comes to: an order, or why there is none.
#pragma once

#include "host/orders/Order.h"
#include "host/web/redfish/Messages.h"
#include "host/web/redfish/Reading.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace bmhost {

/// An order for the resident host.
struct OrderWish {
    Order m_order;
    std::string m_uri;                     ///< of the resource, or of the action
    std::string m_action{};                ///< "Bmhost.SetLed"; empty: a PATCH
    std::string m_property{};              ///< that is written: "/InterfaceEnabled"; of an action, a parameter
    std::string m_value{};                 ///< as the client gave it
    bool m_answeredFirst = false;          ///< the answer goes out before the order is given: it ends this program too
    std::vector<ExtendedInfo> m_remarks{}; ///< of a PATCH: what could not be written besides
};

struct LoginWish {
    std::string m_account;
    std::string m_password;
};

struct LogoutWish {
    std::string m_session;
};

/// A stream of events is to be closed.
struct StreamEndWish {
    std::string m_subscription;
};

/// A record that every stream gets.
struct TestEventWish {
    nlohmann::ordered_json m_record;
};

/// The parts of an upload follow: see UploadOrderOf.
struct UploadWish {};

/// An answer at once, or what is to be done before there is one.
using Wish = std::variant<RedfishAnswer, OrderWish, LoginWish, LogoutWish, StreamEndWish, TestEventWish, UploadWish>;

/// Every method but GET and HEAD.
Wish WishOf(const TreeFacts& facts, const RedfishRequest& request);

/// A row of the table of what can be changed.
struct Writer {
    std::string_view m_pattern; ///< as the tree has it
    Wish (*m_wish)(const FoundNode& found, const RedfishRequest& request);
};

/// The body as an object; an answer when it is none.
std::variant<nlohmann::ordered_json, RedfishAnswer> ObjectOf(const std::string& body);
/// A value as a client reads it in a message: a text as it stands, anything else as JSON; long ones are cut.
std::string ValueInMessage(const nlohmann::ordered_json& value);

Wish WishToPatch(const FoundNode& found, const RedfishRequest& request);
Wish WishToReset(const FoundNode& found, const RedfishRequest& request);
Wish WishToSetLed(const FoundNode& found, const RedfishRequest& request);
Wish WishToTestEvents(const FoundNode& found, const RedfishRequest& request);

/// What "UpdateParameters" of an upload ask for: an order without the image's path.
/// @param parameters  the part's JSON; nothing when there was none
std::variant<Order, RedfishAnswer> UploadOrderOf(const TreeFacts& facts, const std::optional<std::string>& parameters);

} // namespace bmhost
