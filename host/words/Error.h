// The errors that bmhost reports, by the exit status they lead to.
#pragma once

#include <stdexcept>

namespace BMHOST {

/// Exit statuses.
enum EXIT_STATUS_e : int {
    EXIT_ALL_OK = 0,      ///< every call returned 1
    EXIT_SOME_FAILED = 1, ///< some call did not
    EXIT_USAGE = 2,       ///< bad usage
    EXIT_NO_ADAPTOR = 3   ///< the adaptor could not be loaded
};

/// What the user typed cannot be meant; the text says what was expected.
class USAGE_ERROR : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The adaptor's file cannot be used; the text names file and reason.
class LOAD_ERROR : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace BMHOST
