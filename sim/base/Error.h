// What keeps the blade from coming up, in words for the person who started it.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace bladesim {

struct BladeError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws a BladeError that says what could not be done and why; the error number is read first.
[[noreturn]] inline void ThrowErrno(const std::string& what) {
    const int error = errno;
    throw BladeError(what + ": " + std::generic_category().message(error));
}

} // namespace bladesim
