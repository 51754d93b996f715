// Errors, in words for the person who runs bladesim.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace bladesim {

struct BladeError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws a BladeError that says what could not be done and, from errno, why.
[[noreturn]] inline void ThrowErrno(const std::string& what) {
    const int error = errno;
    throw BladeError(what + ": " + std::generic_category().message(error));
}

} // namespace bladesim
