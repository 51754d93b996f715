// `bmhost run`: a resident host, from init to fin.
#pragma once

namespace bmhost {

class RunOutput;
class PluginSession;
class StopRequest;

/// Calls init and start, reports what happens until a stop is requested, and calls stop and fin. Does not wait if the
/// start failed. True when every call returned 1 and the health monitor found no fault. Throws what the output throws,
/// after stop and fin.
bool RunHost(PluginSession& session, RunOutput& output, StopRequest& stop);

} // namespace bmhost
