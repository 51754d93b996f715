// How large the calling thread's stack is.
#pragma once

#include "bm_dev/Thread.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <pthread.h>

inline std::size_t StackSizeHere() {
    pthread_attr_t attributes;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
    return size;
}

/// The C library may hand out the stack of a thread that has ended, up to four times as large.
inline void ExpectOurStackSize(std::size_t size) {
    EXPECT_GE(size, bm_dev::ThreadStackSize);
    EXPECT_LE(size, 4 * bm_dev::ThreadStackSize);
}
