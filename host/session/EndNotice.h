// Says so when the adaptor ends the process, or does not come back from a call.
#pragma once

#include <chrono>
#include <string>

namespace BMHOST {

/// From now on an end of the process that bmhost did not mean is announced as the last line on standard error, and so
/// is a call that has not returned after `a_FirstWait`, again after each six times as long. Once a process.
void ArmEndNotice(std::chrono::milliseconds a_FirstWait);
/// bmhost is about to end by itself.
void DisarmEndNotice();

/// Names the call under way for the notice.
class CALL_UNDER_WAY {
public:
    explicit CALL_UNDER_WAY(std::string a_Name);
    CALL_UNDER_WAY(const CALL_UNDER_WAY&) = delete;
    CALL_UNDER_WAY& operator=(const CALL_UNDER_WAY&) = delete;
    ~CALL_UNDER_WAY();
};

} // namespace BMHOST
