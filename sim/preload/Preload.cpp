// Loaded before the C library: gives a program a /dev/ipmi0 that is a socket to the driver of the simulated blade. The
// socket is the descriptor, so select, poll, dup and fork work by themselves; which descriptor is the device is seen
// from its peer, so nothing has to be remembered. Nothing of the C++ runtime in it: it goes into programs that have
// none.
#include "sim/preload/DeviceCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

using BLADESIM::DeviceCall;
using BLADESIM::IsDevice;
using BLADESIM::IsIPMIRequest;
using BLADESIM::OpenDevice;

namespace {

/// The next function of this name: the C library's, or that of another preload library.
template <typename FUNCTION>
FUNCTION Next(const char* a_Name) {
    return reinterpret_cast<FUNCTION>(::dlsym(RTLD_NEXT, a_Name));
}

/// Whether the path is one of the device's names, and if so its descriptor. Of the three that programs try only one
/// exists; a real device of this machine must not be reached by any of them.
bool OpenIfDevice(const char* a_Path, int a_Flags, int& a_Fd) {
    if (a_Path == nullptr) return false;
    if (std::strcmp(a_Path, "/dev/ipmi0") == 0) {
        a_Fd = OpenDevice(a_Flags);
        return true;
    }
    if (std::strcmp(a_Path, "/dev/ipmi/0") != 0 && std::strcmp(a_Path, "/dev/ipmidev/0") != 0) return false;
    errno = ENOENT;
    a_Fd = -1;
    return true;
}

bool HasMode(int a_Flags) {
    return (a_Flags & O_CREAT) != 0 || (a_Flags & O_TMPFILE) == O_TMPFILE;
}

} // namespace

#define BLADESIM_EXPORT __attribute__((visibility("default")))

extern "C" {

// The names are the C library's, and the analyzer misses the va_start of a macro.
// NOLINTBEGIN

// The eight ways of opening a file that a program may be linked to differ in the folder argument and in the mode.
#define BLADESIM_OPEN(NAME)                                                                                            \
    BLADESIM_EXPORT int NAME(const char* a_Path, int a_Flags, ...) {                                                   \
        int l_Fd = -1;                                                                                                 \
        if (OpenIfDevice(a_Path, a_Flags, l_Fd)) return l_Fd;                                                          \
        va_list l_Arguments;                                                                                           \
        va_start(l_Arguments, a_Flags);                                                                                \
        const mode_t l_Mode = HasMode(a_Flags) ? va_arg(l_Arguments, mode_t) : 0;                                      \
        va_end(l_Arguments);                                                                                           \
        return Next<int (*)(const char*, int, ...)>(#NAME)(a_Path, a_Flags, l_Mode);                                   \
    }
#define BLADESIM_OPENAT(NAME)                                                                                          \
    BLADESIM_EXPORT int NAME(int a_Folder, const char* a_Path, int a_Flags, ...) {                                     \
        int l_Fd = -1;                                                                                                 \
        if (OpenIfDevice(a_Path, a_Flags, l_Fd)) return l_Fd;                                                          \
        va_list l_Arguments;                                                                                           \
        va_start(l_Arguments, a_Flags);                                                                                \
        const mode_t l_Mode = HasMode(a_Flags) ? va_arg(l_Arguments, mode_t) : 0;                                      \
        va_end(l_Arguments);                                                                                           \
        return Next<int (*)(int, const char*, int, ...)>(#NAME)(a_Folder, a_Path, a_Flags, l_Mode);                    \
    }
#define BLADESIM_OPEN_2(NAME)                                                                                          \
    BLADESIM_EXPORT int NAME(const char* a_Path, int a_Flags) {                                                        \
        int l_Fd = -1;                                                                                                 \
        if (OpenIfDevice(a_Path, a_Flags, l_Fd)) return l_Fd;                                                          \
        return Next<int (*)(const char*, int)>(#NAME)(a_Path, a_Flags);                                                \
    }
#define BLADESIM_OPENAT_2(NAME)                                                                                        \
    BLADESIM_EXPORT int NAME(int a_Folder, const char* a_Path, int a_Flags) {                                          \
        int l_Fd = -1;                                                                                                 \
        if (OpenIfDevice(a_Path, a_Flags, l_Fd)) return l_Fd;                                                          \
        return Next<int (*)(int, const char*, int)>(#NAME)(a_Folder, a_Path, a_Flags);                                 \
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
    BLADESIM_EXPORT int NAME(int a_Fd, unsigned long a_Request, ...) noexcept {                                        \
        va_list l_Arguments;                                                                                           \
        va_start(l_Arguments, a_Request);                                                                              \
        void* const l_Argument = va_arg(l_Arguments, void*);                                                           \
        va_end(l_Arguments);                                                                                           \
        if (IsIPMIRequest(a_Request) && IsDevice(a_Fd)) return DeviceCall(a_Fd, a_Request, l_Argument);                \
        return Next<int (*)(int, unsigned long, ...)>(#NAME)(a_Fd, a_Request, l_Argument);                             \
    }

BLADESIM_IOCTL(ioctl)
BLADESIM_IOCTL(__ioctl_time64)

// NOLINTEND
}
