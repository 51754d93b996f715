// System calls of the platform that a test makes fail.
#pragma once

#include <string>

/// As long as it lives, one call of this process fails with EIO: the one with the given number, counted from now. The
/// calls are "fsync" and "renameat".
class FailingCall {
public:
    FailingCall(const std::string& name, int which);
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
    ~FailingCall();

    /// Whether that call has come.
    static bool HasFailed();
};
