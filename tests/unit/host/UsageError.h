// What bmhost says of input that cannot be meant.
#pragma once

#include "host/words/Error.h"

#include <string>

/// The text of the USAGE_ERROR that the call throws; "no error" when it throws none.
template <typename CALLED>
std::string UsageErrorOf(CALLED a_Called) {
    try {
        a_Called();
    } catch (const BMHOST::USAGE_ERROR& l_Error) {
        return l_Error.what();
    }
    return "no error";
}
