// The host's side of the log: where the lines go.
#pragma once

#include <string>

class CBaseOsLog;

namespace BM_PLATFORM {

/// Lines go to the console (standard error) from the start.
void LogToConsole(bool on);
/// Lines go to this file as well, appended. Throws std::runtime_error naming file and reason when it cannot be opened.
void LogToFile(const std::string& path);

/// The logger object to hand to adaptors: the same lines as bmiLog's. Valid until the process has ended.
CBaseOsLog& HostLog();

} // namespace BM_PLATFORM
