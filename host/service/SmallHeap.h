// The memory of a program that runs for months.
#pragma once

namespace bmhost {

/// All threads share one heap, and what is free at its end goes back to the system: glibc would give each thread a heap
/// that keeps what the thread has freed, and would keep ever larger blocks. Before the first thread.
void KeepHeapSmall();

} // namespace bmhost
