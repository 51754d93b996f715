// What bmhost says about input that makes no sense.
#pragma once

#include "host/words/Error.h"

#include <string>

/// The text of the UsageError that the call throws; "no error" when it throws none.
template <typename Called>
std::string UsageErrorOf(Called called) {
    try {
        called();
    } catch (const bmhost::UsageError& error) {
        return error.what();
    }
    return "no error";
}
