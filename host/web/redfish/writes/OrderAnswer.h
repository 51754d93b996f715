// What a client is answered once its request was carried out, or was not.
#pragma once

#include "host/web/redfish/writes/Writing.h"

#include <string>

namespace bmhost {

/// Of an order that the resident host has carried out.
/// @param facts  of the blade as it was heard last: a PATCH that could write some properties only shows the resource
RedfishAnswer OrderAnswer(const TreeFacts& facts, const OrderWish& wish, const OrderOutcome& outcome);

/// Of an order that it did not carry out.
/// @param status  of HTTP, as it answered; 0: it did not
RedfishAnswer RefusedOrderAnswer(const OrderWish& wish, unsigned status, const std::string& reason);

/// Of an upload. Once accepted, the blade's last upgrade is the one of this place, so its facts have to be heard first.
RedfishAnswer UploadAnswer(const TreeFacts& facts, const OrderOutcome& outcome);

/// Of a login: 201 with the session, its token and its URI.
RedfishAnswer LoginAnswer(const TreeFacts& facts, const std::string& session, const std::string& token);

} // namespace bmhost
