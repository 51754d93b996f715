// The rules by which the kernel's IPMI driver takes or refuses a request before it reaches a controller.
#pragma once

#include <linux/ipmi.h>

#include <cstddef>

namespace bladesim {

/// 0 when the driver takes the request, or the error number of the ioctl. The address and data pointers must be
/// readable.
int CheckRequest(const ipmi_req& request);

/// The bytes that an address of this type has; 0 for an unknown type.
size_t AddressLength(int addressType);

} // namespace bladesim
