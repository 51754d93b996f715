// Says so when the adaptor ends the process, or does not come back from a call.
#pragma once

#include <chrono>
#include <string>

namespace bmhost {

/// From now on an end of the process that bmhost did not mean is announced as the last line on standard error, and so
/// is a call that has not returned after `firstWait`, again after each six times as long. Once a process.
void ArmEndNotice(std::chrono::milliseconds firstWait);
/// bmhost is about to end by itself.
void DisarmEndNotice();

/// Names the call under way for the notice.
class CallUnderWay {
public:
    explicit CallUnderWay(std::string name);
    CallUnderWay(const CallUnderWay&) = delete;
    CallUnderWay& operator=(const CallUnderWay&) = delete;
    ~CallUnderWay();
};

} // namespace bmhost
