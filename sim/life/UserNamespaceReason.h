// Why this machine gives an ordinary user no user namespace, in words for him.
#pragma once

#include <string>

namespace bladesim {

/// Names the setting that forbids it, with its value and what root may do; `error` is what the kernel answered.
/// `settings` is the folder of the kernel's settings.
std::string WhyNoUserNamespace(int error, const std::string& settings = "/proc/sys");

} // namespace bladesim
