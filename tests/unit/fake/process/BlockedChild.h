// Shows that a call does not return: makes it in a child process, sees that the child waits, and ends it.
#pragma once

#include <functional>
#include <ostream>

/// What became of a call in a child process.
enum class CHILD_END {
    StaysBlocked, ///< it slept in the kernel with nothing left to wake it, and was killed
    Returned,
    Ended ///< the process ended by itself
};

void PrintTo(CHILD_END a_End, std::ostream* a_Stream);

/// Makes the call in a child process of one thread. `a_Before` prepares what the call needs, in the child too. The
/// child counts as blocked when its only thread sleeps on a lock (a futex): no other thread could release it.
CHILD_END CallInChild(const std::function<void()>& a_Before, const std::function<void()>& a_Call);
