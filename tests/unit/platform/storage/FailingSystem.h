// System calls of the platform that fail by order.
#pragma once

#include <string>

/// While it lives, one call of this process fails with EIO: the given one, counted from its making.
/// The calls are "fsync" and "renameat".
class FAILING_CALL {
public:
    FAILING_CALL(const std::string& a_Name, int a_Which);
    FAILING_CALL(const FAILING_CALL&) = delete;
    FAILING_CALL& operator=(const FAILING_CALL&) = delete;
    ~FAILING_CALL();

    /// Whether it has come to that call.
    static bool HasFailed();
};
