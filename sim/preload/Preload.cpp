// Loaded before the C library: gives a program a /dev/ipmi0 that is a socket to the driver of the simulated blade. The
// socket is the descriptor, so select, poll, dup and fork just work; the name of its peer identifies it as the device,
// so nothing has to be remembered. It does not use the C++ runtime, since it is also loaded into programs that have
// none.
#include "sim/preload/DeviceCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

using bladesim::DeviceCall;
using bladesim::IsDevice;
using bladesim::IsIPMIRequest;
using bladesim::OpenDevice;

namespace {

/// The next function of this name: the C library's, or that of another preload library.
template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// Whether the path is one of the device's names, and if so its descriptor. Of the three that programs try only one
/// exists; a real device of this machine must not be reached by any of them.
bool OpenIfDevice(const char* path, int flags, int& fd) {
    if (path == nullptr) return false;
    if (std::strcmp(path, "/dev/ipmi0") == 0) {
        fd = OpenDevice(flags);
        return true;
    }
    if (std::strcmp(path, "/dev/ipmi/0") != 0 && std::strcmp(path, "/dev/ipmidev/0") != 0) return false;
    errno = ENOENT;
    fd = -1;
    return true;
}

bool HasMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

} // namespace

#define BLADESIM_EXPORT __attribute__((visibility("default")))

extern "C" {

// The names are the C library's, and the analyzer misses the va_start of a macro.
// NOLINTBEGIN

// The eight ways of opening a file that a program may be linked to differ in the folder argument and in the mode.
#define BLADESIM_OPEN(NAME)                                                                                            \
    BLADESIM_EXPORT int NAME(const char* path, int flags, ...) {                                                       \
        int fd = -1;                                                                                                   \
        if (OpenIfDevice(path, flags, fd)) return fd;                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = HasMode(flags) ? va_arg(arguments, mode_t) : 0;                                            \
        va_end(arguments);                                                                                             \
        return Next<int (*)(const char*, int, ...)>(#NAME)(path, flags, mode);                                         \
    }
#define BLADESIM_OPENAT(NAME)                                                                                          \
    BLADESIM_EXPORT int NAME(int folder, const char* path, int flags, ...) {                                           \
        int fd = -1;                                                                                                   \
        if (OpenIfDevice(path, flags, fd)) return fd;                                                                  \
        va_list arguments;                                                                                             \
        va_start(arguments, flags);                                                                                    \
        const mode_t mode = HasMode(flags) ? va_arg(arguments, mode_t) : 0;                                            \
        va_end(arguments);                                                                                             \
        return Next<int (*)(int, const char*, int, ...)>(#NAME)(folder, path, flags, mode);                            \
    }
#define BLADESIM_OPEN_2(NAME)                                                                                          \
    BLADESIM_EXPORT int NAME(const char* path, int flags) {                                                            \
        int fd = -1;                                                                                                   \
        if (OpenIfDevice(path, flags, fd)) return fd;                                                                  \
        return Next<int (*)(const char*, int)>(#NAME)(path, flags);                                                    \
    }
#define BLADESIM_OPENAT_2(NAME)                                                                                        \
    BLADESIM_EXPORT int NAME(int folder, const char* path, int flags) {                                                \
        int fd = -1;                                                                                                   \
        if (OpenIfDevice(path, flags, fd)) return fd;                                                                  \
        return Next<int (*)(int, const char*, int)>(#NAME)(folder, path, flags);                                       \
    }

BLADESIM_OPEN(open)
BLADESIM_OPEN(open64)
BLADESIM_OPENAT(openat)
BLADESIM_OPENAT(openat64)
BLADESIM_OPEN_2(__open_2)
BLADESIM_OPEN_2(__open64_2)
BLADESIM_OPENAT_2(__openat_2)
BLADESIM_OPENAT_2(__openat64_2)

// The second is what 32-bit programs with 64-bit time are linked to.
#define BLADESIM_IOCTL(NAME)                                                                                           \
    BLADESIM_EXPORT int NAME(int fd, unsigned long request, ...) noexcept {                                            \
        va_list arguments;                                                                                             \
        va_start(arguments, request);                                                                                  \
        void* const argument = va_arg(arguments, void*);                                                               \
        va_end(arguments);                                                                                             \
        if (IsIPMIRequest(request) && IsDevice(fd)) return DeviceCall(fd, request, argument);                          \
        return Next<int (*)(int, unsigned long, ...)>(#NAME)(fd, request, argument);                                   \
    }

BLADESIM_IOCTL(ioctl)
BLADESIM_IOCTL(__ioctl_time64)

// NOLINTEND
}
