// A child process that stops at each of its system calls: to end it there, to fail the call, or to hold it.
#pragma once

#include <functional>
#include <sys/types.h>

class TRACED_CHILD {
public:
    /// Makes the call in a child process; it stops before anything is done.
    explicit TRACED_CHILD(const std::function<int()>& a_Call);
    TRACED_CHILD(const TRACED_CHILD&) = delete;
    TRACED_CHILD& operator=(const TRACED_CHILD&) = delete;
    /// Kills it, wherever it stands.
    ~TRACED_CHILD();

    /// Lets it go on to its next system call, which has not begun then. False when it has come to its end instead.
    bool GoOn();
    /// Whether the system call is one on files.
    bool IsOnFiles() const;
    /// Fails the system call instead, with this errno, and lets the child go on behind it.
    void Fail(int a_Error);
    /// Lets it run to its end; what the call returned.
    int Finish();

private:
    bool mRunToStop();

    pid_t m_Process;
    long m_Number = -1; ///< of the system call at which it stands
    bool m_bEnded = false;
    int m_Status = 0;
};
