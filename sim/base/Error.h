// What keeps the blade from coming up, in words for the person who started it.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace BLADESIM {

struct BLADE_ERROR : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws a BLADE_ERROR that says what could not be done and why; the error number is read first.
[[noreturn]] inline void ThrowErrno(const std::string& a_What) {
    const int l_Error = errno;
    throw BLADE_ERROR(a_What + ": " + std::generic_category().message(l_Error));
}

} // namespace BLADESIM
