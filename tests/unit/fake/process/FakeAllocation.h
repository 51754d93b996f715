// The memory of the test program: an allocation that fails, and what a call leaves allocated.
#pragma once

/// The next allocation of this thread by new throws std::bad_alloc.
void FailNextAllocation();
/// Whether it is still to come; it is called off.
bool CallOffFailedAllocation();
/// How many allocations by new this thread has made more than it has freed.
long AllocationsOfThisThread();
