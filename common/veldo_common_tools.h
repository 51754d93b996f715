// What the exit statuses of the board driver's tools mean.
#pragma once

namespace BM_ADAPTOR {

/// Exit statuses of the diagnostic. A larger one comes from the shell, which could not run the tool.
enum DIAGNOSTIC_STATUS_e : int {
    DIAGNOSTIC_PASSED = 0,
    DIAGNOSTIC_INVALID_PARAMETERS = 1,
    DIAGNOSTIC_FIRMWARE_FAILED = 2,
    DIAGNOSTIC_AMC_FAILED = 16,
    DIAGNOSTIC_RTM_FAILED = 32
};

} // namespace BM_ADAPTOR
