// What the ioctls of the kernel's IPMI device do, on a socket to the simulated blade's driver. Part of the preload
// library, so nothing here needs the C++ runtime.
#pragma once

namespace bladesim {

/// A descriptor for /dev/ipmi0, or -1 with errno: ENOENT when the blade has no such device, EACCES when it may not be
/// opened. Of the flags only O_CLOEXEC and O_NONBLOCK count.
int OpenDevice(int flags);

/// Whether this descriptor is a /dev/ipmi0 that is or was served by the driver.
bool IsDevice(int fd);

/// Whether the request is one of linux/ipmi.h, judged by its magic letter.
bool IsIPMIRequest(unsigned long request);

/// An ioctl as the kernel does it: 0, or -1 with errno.
int DeviceCall(int fd, unsigned long request, void* argument);

} // namespace bladesim
