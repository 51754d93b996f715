// Reports when the adaptor ends the process, or does not return from a call.
#pragma once

#include "host/output/Time.h"

#include <chrono>
#include <optional>
#include <string>

namespace bmhost {

/// From now on the last line on standard error reports an end of the process that bmhost did not intend. A line also
/// reports a call that has not returned after `firstWait`, and again each time after six times as long. Call it once
/// per process.
/// @param limit  the process's time: it ends with status 5 then, and the last line says what it has waited for
void ArmEndNotice(std::chrono::milliseconds firstWait, std::optional<std::chrono::milliseconds> limit = std::nullopt);
/// To be called when bmhost is about to end the process itself.
void DisarmEndNotice();

/// Names the call in progress for the notice.
class CallUnderWay {
public:
    explicit CallUnderWay(std::string name);
    CallUnderWay(const CallUnderWay&) = delete;
    CallUnderWay& operator=(const CallUnderWay&) = delete;
    ~CallUnderWay();
};

} // namespace bmhost
