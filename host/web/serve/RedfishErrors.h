// Redfish's words for what the server and the door refuse, and its answers as the server sends them.
#pragma once

#include "host/http/Request.h"
#include "host/web/redfish/Messages.h"

namespace bmhost {

/// An error with one message.
RedfishAnswer OneError(unsigned status, const ExtendedInfo& info);
/// Whatever has been refused, with the refusal's own headers. The reason of what has no message of its own is in a
/// message of this service's.
RedfishAnswer AnswerOf(const Request& request, const Refusal& refusal);

Reply ReplyOf(RedfishAnswer answer);

} // namespace bmhost
