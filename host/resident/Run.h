// `bmhost run`: a resident host, from init to fin.
#pragma once

namespace bmhost {

class RunOutput;
class Session;
class StopRequest;

/// Calls init and start, tells what happens until the stop is asked for, calls stop and fin. What cannot be begun is
/// not waited for. True when every call returned 1 and the health monitor found no fault. Throws what the output
/// throws, after stop and fin.
bool RunHost(Session& session, RunOutput& output, StopRequest& stop);

} // namespace bmhost
