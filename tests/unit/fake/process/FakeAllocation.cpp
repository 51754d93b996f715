// The memory of the test program; see the header.
#include "fake/process/FakeAllocation.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local bool g_bFails = false;
thread_local long g_Allocations = 0;

void Free(void* a_Memory) {
    if (a_Memory != nullptr) --g_Allocations;
    std::free(a_Memory);
}

} // namespace

void FailNextAllocation() {
    g_bFails = true;
}

bool CallOffFailedAllocation() {
    return std::exchange(g_bFails, false);
}

long AllocationsOfThisThread() {
    return g_Allocations;
}

// Of one object; arrays and objects of an unusual alignment are the library's.
void* operator new(std::size_t a_Size) {
    if (std::exchange(g_bFails, false)) throw std::bad_alloc();
    void* const l_Memory = std::malloc(a_Size != 0 ? a_Size : 1);
    if (l_Memory == nullptr) throw std::bad_alloc();
    ++g_Allocations;
    return l_Memory;
}

void operator delete(void* a_Memory) noexcept {
    Free(a_Memory);
}

void operator delete(void* a_Memory, std::size_t) noexcept {
    Free(a_Memory);
}
