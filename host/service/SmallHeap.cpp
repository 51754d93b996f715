// The memory of a program that runs for months.
#include "host/service/SmallHeap.h"

#include <malloc.h>

namespace bmhost {

void KeepHeapSmall() {
    constexpr int largeBlock = 64 * 1024; // the JSON of a picture is one: it comes from the system, and goes back to it
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    mallopt(M_TRIM_THRESHOLD, largeBlock);
}

} // namespace bmhost
