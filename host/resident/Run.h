// `bmhost run`: a resident host, from init to fin.
#pragma once

namespace BMHOST {

class RUN_OUTPUT;
class SESSION;
class STOP_REQUEST;

/// Calls init and start, tells what happens until the stop is asked for, calls stop and fin. What cannot be begun is
/// not waited for. True when every call returned 1 and the health monitor found no fault. Throws what the output
/// throws, after stop and fin.
bool RunHost(SESSION& a_Session, RUN_OUTPUT& a_Output, STOP_REQUEST& a_Stop);

} // namespace BMHOST
