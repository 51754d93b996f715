// What clients read: the picture and its parts, the log, events, the document.
#pragma once

#include "host/http/Service.h"
#include "host/resident/ResidentHost.h"

namespace bmhost {

struct Api;

/// Handlers of the route table.
Outcome LookAtRoot(Api& api, Request& request, const Answered& answered);
Outcome LookAtBlade(Api& api, Request& request, const Answered& answered);
Outcome LookAtPart(Api& api, Request& request, const Answered& answered);
Outcome LookAtLed(Api& api, Request& request, const Answered& answered);
Outcome LookAtModule(Api& api, Request& request, const Answered& answered);
Outcome LookAtDsp(Api& api, Request& request, const Answered& answered);
Outcome LookAtPort(Api& api, Request& request, const Answered& answered);
Outcome LookAtStatistics(Api& api, Request& request, const Answered& answered);
Outcome LookAtLog(Api& api, Request& request, const Answered& answered);
Outcome LookAtDocument(Api& api, Request& request, const Answered& answered);
Outcome FollowEvents(Api& api, Request& request, const Answered& answered);

} // namespace bmhost
