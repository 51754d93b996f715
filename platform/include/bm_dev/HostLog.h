// The host's side of the log: where lines are written.
#pragma once

#include <functional>
#include <string>

class CBaseOsLog;

namespace bm_dev {

/// Writes lines to the console (standard error), or stops doing so. The console is on from the start.
void LogToConsole(bool on);
/// Also appends lines to this file. Throws std::runtime_error naming file and reason when it cannot be opened.
void LogToFile(const std::string& path);

/// Also passes lines to the listener, one at a time, on the thread that logs. With null, no listener is called after
/// this returns. Component and text are printable; a text of several lines comes without the marks that the later lines
/// have on the console and in the file. A listener must not log.
using LogListener = std::function<void(int level, const std::string& component, const std::string& text)>;
void LogToListener(LogListener listener);

/// The logger object to hand to adaptors. It writes the same lines as bmiLog, and stays valid until the process has
/// ended.
CBaseOsLog& HostLog();

} // namespace bm_dev
