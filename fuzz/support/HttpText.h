// Requests from bytes, as the HTTP library hands them over.
#pragma once

#include "host/http/Request.h"

#include <string>
#include <string_view>

namespace fuzzing {

struct HttpText {
    bmhost::Request m_request; ///< without a body
    std::string m_body;
    bool m_good = false; ///< the library would have taken it: there is a method and a path, no parameter stands twice
};

/// "GET /v1?a=b\nHost: h\n\nbody". The length of the body is the one that it has.
HttpText HttpTextOf(std::string_view text);

/// Takes a line off the text, without its end.
std::string_view TakeLine(std::string_view& text);

/// Which of so many things the first letter of the text means: '0' is the first one. Takes it off.
unsigned TakeChoice(std::string_view& text, unsigned count);

} // namespace fuzzing
