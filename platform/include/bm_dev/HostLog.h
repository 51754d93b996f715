// The host's side of the log: where the lines go.
#pragma once

#include <functional>
#include <string>

class CBaseOsLog;

namespace bm_dev {

/// Lines go to the console (standard error) from the start.
void LogToConsole(bool on);
/// Lines go to this file as well, appended. Throws std::runtime_error naming file and reason when it cannot be opened.
void LogToFile(const std::string& path);

/// Lines are told to the listener as well, one at a time, on the thread that logs; null: to nobody any more, from the
/// moment that this returns. Component and text are printable; a text of several lines comes as it is, without the
/// marks that the later ones have in console and file. A listener must not log.
using LogListener = std::function<void(int level, const std::string& component, const std::string& text)>;
void LogToListener(LogListener listener);

/// The logger object to hand to adaptors: the same lines as bmiLog's. Valid until the process has ended.
CBaseOsLog& HostLog();

} // namespace bm_dev
