// What the ioctls of the kernel's IPMI device do, on a socket to the driver of the simulated blade.
// Goes into the preload library: nothing of the C++ runtime in it.
#pragma once

namespace bladesim {

/// A descriptor for /dev/ipmi0, or -1 with errno: ENOENT when the blade has no such device. Of the flags only O_CLOEXEC
/// and O_NONBLOCK count.
int OpenDevice(int flags);

/// Whether this descriptor is a /dev/ipmi0 that is or was served by the driver.
bool IsDevice(int fd);

/// Whether the request is one of linux/ipmi.h, judged by its magic letter.
bool IsIPMIRequest(unsigned long request);

/// Does an ioctl as the kernel does: 0, or -1 with errno.
int DeviceCall(int fd, unsigned long request, void* argument);

} // namespace bladesim
