// Shows that a call does not come back: it is made in a child process, which is seen waiting and then ended.
#pragma once

#include <functional>
#include <ostream>

/// What became of a call in a child process.
enum class CHILD_END {
    StaysBlocked, ///< it slept in the kernel with nobody left to wake it, and was killed
    Returned,
    Ended ///< the process ended by itself
};

void PrintTo(CHILD_END a_End, std::ostream* a_Stream);

/// Makes the call in a child process of one thread. `a_Before` prepares what the call needs, in the child too. The
/// child counts as blocked when its only thread sleeps on a lock (a futex): in a process of one thread nobody can free
/// it.
CHILD_END CallInChild(const std::function<void()>& a_Before, const std::function<void()>& a_Call);
