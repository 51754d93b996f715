// What clients have done: calls of the adaptor, orders, firmware upgrades.
#pragma once

#include "host/api/Upload.h"
#include "host/http/Service.h"
#include "host/resident/ResidentHost.h"

namespace bmhost {

struct Api;

/// Handlers of the route table.
Outcome AskCall(Api& api, Request& request, const Answered& answered);
Outcome AskOrder(Api& api, Request& request, const Answered& answered);
Outcome AskFirmware(Api& api, Request& request, const Answered& answered);

/// Before the first byte of an image: whether the request can be meant, and whether there is room. Throws Refusal.
std::unique_ptr<UploadSink> BeginImage(Api& api, const Request& request, uint64_t size);

} // namespace bmhost
