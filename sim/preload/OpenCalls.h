// The ways of opening a file that a preload library takes over. It uses no C++ runtime, since it is also loaded into
// programs that have none.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>

#include <cstdarg>

namespace bladesim {

/// The next function of this name: the C library's, or that of another preload library.
template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

inline bool HasMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

} // namespace bladesim

#define BLADESIM_EXPORT __attribute__((visibility("default")))

// The eight ways of opening a file that a program may be linked to differ in the folder argument and in the mode.
#define BLADESIM_OPEN(INSTEAD, NAME)                                                                                   \
    BLADESIM_EXPORT int NAME(const char* path, int flags, ...) {                                                       \
        int fd = -1;                                                                                                   \
        if (INSTEAD(path, flags, fd)) return fd;                                                                       \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = bladesim::HasMode(flags) ? va_arg(arguments, mode_t) : 0;                                  \
        va_end(arguments);                                                                                             \
        return bladesim::Next<int (*)(const char*, int, ...)>(#NAME)(path, flags, mode);                               \
    }
#define BLADESIM_OPENAT(INSTEAD, NAME)                                                                                 \
    BLADESIM_EXPORT int NAME(int folder, const char* path, int flags, ...) {                                           \
        int fd = -1;                                                                                                   \
        if (INSTEAD(path, flags, fd)) return fd;                                                                       \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = bladesim::HasMode(flags) ? va_arg(arguments, mode_t) : 0;                                  \
        va_end(arguments);                                                                                             \
        return bladesim::Next<int (*)(int, const char*, int, ...)>(#NAME)(folder, path, flags, mode);                  \
    }
#define BLADESIM_OPEN_2(INSTEAD, NAME)                                                                                 \
    BLADESIM_EXPORT int NAME(const char* path, int flags) {                                                            \
        int fd = -1;                                                                                                   \
        if (INSTEAD(path, flags, fd)) return fd;                                                                       \
        return bladesim::Next<int (*)(const char*, int)>(#NAME)(path, flags);                                          \
    }
#define BLADESIM_OPENAT_2(INSTEAD, NAME)                                                                               \
    BLADESIM_EXPORT int NAME(int folder, const char* path, int flags) {                                                \
        int fd = -1;                                                                                                   \
        if (INSTEAD(path, flags, fd)) return fd;                                                                       \
        return bladesim::Next<int (*)(int, const char*, int)>(#NAME)(folder, path, flags);                             \
    }

/// To be used within extern "C". INSTEAD is called first, with path, flags and a place for the descriptor: it says
/// whether the path is its own.
#define BLADESIM_OPEN_CALLS(INSTEAD)                                                                                   \
    BLADESIM_OPEN(INSTEAD, open)                                                                                       \
    BLADESIM_OPEN(INSTEAD, open64)                                                                                     \
    BLADESIM_OPENAT(INSTEAD, openat)                                                                                   \
    BLADESIM_OPENAT(INSTEAD, openat64)                                                                                 \
    BLADESIM_OPEN_2(INSTEAD, __open_2)                                                                                 \
    BLADESIM_OPEN_2(INSTEAD, __open64_2)                                                                               \
    BLADESIM_OPENAT_2(INSTEAD, __openat_2)                                                                             \
    BLADESIM_OPENAT_2(INSTEAD, __openat64_2)
