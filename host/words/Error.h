// The errors that bmhost reports, by the exit status they lead to.
#pragma once

#include <stdexcept>

namespace bmhost {

/// Exit statuses.
enum ExitStatus : int {
    ExitAllOk = 0,      ///< every call returned 1
    ExitSomeFailed = 1, ///< some call did not
    ExitUsage = 2,      ///< bad usage
    ExitNoAdaptor = 3   ///< the adaptor could not be loaded
};

/// What the user typed cannot be meant; the text says what was expected.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The adaptor's file cannot be used; the text names file and reason.
class LoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace bmhost
