// The errors that bmhost reports, by the exit status they lead to.
#pragma once

#include <stdexcept>

namespace bmhost {

/// Exit statuses.
enum ExitStatus : int {
    ExitAllOk = 0,      ///< every call returned 1
    ExitSomeFailed = 1, ///< some call did not
    ExitUsage = 2,      ///< bad usage
    ExitNoAdaptor = 3,  ///< the adaptor could not be loaded
    ExitSimulated = 4,  ///< the inventory is simulated, and that was not asked for
    ExitTimeUp = 5,     ///< the command's time is up
    ExitOtherHost = 6   ///< another host has the blade
};

/// What the user typed cannot be meant; the text says what was expected.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The adaptor's file cannot be used; the text names file and reason.
class LoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The command's time is up; the text says what it waited for.
class TimeUpError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Another host has the blade; the text names its program, process and start.
class OtherHostError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace bmhost
