// What an exception says.
#pragma once

#include <exception>
#include <new>
#include <string>

namespace bm_dev {

/// In words also where the C++ library names no more than a type; those are short, since there is no memory for others.
inline std::string ReasonOf(const std::exception& error) {
    return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? "no memory left" : error.what();
}

} // namespace bm_dev
