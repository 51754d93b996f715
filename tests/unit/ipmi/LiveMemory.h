// How many bytes of heap are in use, for tests that memory stays flat.
#pragma once

#include <cstddef>

#ifdef BM_SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // its header is not part of every compiler
inline std::size_t LiveBytes() {
    return __sanitizer_get_current_allocated_bytes();
}
#else
#include <malloc.h>
inline std::size_t LiveBytes() {
    const struct mallinfo2 l_Info = mallinfo2();
    return l_Info.uordblks + l_Info.hblkhd;
}
#endif
