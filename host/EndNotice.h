// Says so when the adaptor ends the process, or does not come back from a call.
#pragma once

#include <string>

namespace BMHOST {

/// From now on an end of the process that bmhost did not mean is announced as the last line on standard error.
void ArmEndNotice();
/// bmhost is about to end by itself.
void DisarmEndNotice();

/// Names the call under way for the notice; while it does not return, a line on standard error says so now and then.
class CALL_UNDER_WAY {
public:
    explicit CALL_UNDER_WAY(std::string a_Name);
    CALL_UNDER_WAY(const CALL_UNDER_WAY&) = delete;
    CALL_UNDER_WAY& operator=(const CALL_UNDER_WAY&) = delete;
    ~CALL_UNDER_WAY();
};

} // namespace BMHOST
