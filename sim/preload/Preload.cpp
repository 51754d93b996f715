// Loaded before the C library: gives a program a /dev/ipmi0 that is a socket to the driver of the simulated blade. The
// socket is the descriptor, so select, poll, dup and fork just work; the name of its peer identifies it as the device,
// so nothing has to be remembered. It does not use the C++ runtime, since it is also loaded into programs that have
// none.
#include "sim/preload/DeviceCalls.h"
#include "sim/preload/OpenCalls.h"

#include <sys/ioctl.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

using bladesim::DeviceCall;
using bladesim::IsDevice;
using bladesim::IsIPMIRequest;
using bladesim::Next;
using bladesim::OpenDevice;

namespace {

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

} // namespace

extern "C" {

// The names are the C library's, and the analyzer misses the va_start of a macro.
// NOLINTBEGIN

BLADESIM_OPEN_CALLS(OpenIfDevice)

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
