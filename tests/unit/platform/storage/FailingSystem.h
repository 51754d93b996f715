// System calls of the platform that fail by order.
#pragma once

#include <string>

/// While it lives, one call of this process fails with EIO: the given one, counted from its making.
/// The calls are "fsync" and "renameat".
class FailingCall {
public:
    FailingCall(const std::string& name, int which);
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
    ~FailingCall();

    /// Whether it has come to that call.
    static bool HasFailed();
};
