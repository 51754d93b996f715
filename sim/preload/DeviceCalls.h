// What the ioctls of the kernel's IPMI device do, on a socket to the driver of the simulated blade.
// Goes into the preload library: nothing of the C++ runtime in it.
#pragma once

namespace BLADESIM {

/// A descriptor for /dev/ipmi0, or -1 with errno: ENOENT when the blade has no such device. Of the flags only O_CLOEXEC
/// and O_NONBLOCK count.
int OpenDevice(int a_Flags);

/// Whether this descriptor is a /dev/ipmi0 that is or was served by the driver.
bool IsDevice(int a_Fd);

/// Whether the request is one of linux/ipmi.h, judged by its magic letter.
bool IsIPMIRequest(unsigned long a_Request);

/// Does an ioctl as the kernel does: 0, or -1 with errno.
int DeviceCall(int a_Fd, unsigned long a_Request, void* a_Argument);

} // namespace BLADESIM
