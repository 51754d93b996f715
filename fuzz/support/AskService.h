// One request to a service, carried as the server carries it, without a socket; and what holds for every answer.
#pragma once

#include "support/HttpText.h"

#include "host/http/Service.h"

#include <cstddef>
#include <functional>
#include <string>

namespace fuzzing {

struct Asked {
    bmhost::Reply m_reply;
    bool m_streams = false;
    std::string m_stream; ///< the beginning of one
};

struct Manner {
    std::size_t m_piece = 1024;     ///< in which a body for a sink comes, in bytes
    std::function<void()> m_turn{}; ///< what the server's thread does each turn
};

/// Requires: nothing but a Refusal is thrown, somebody answers, and the answer is well-formed.
Asked AskService(bmhost::HttpService& service, HttpText& text, const Manner& manner = {});

} // namespace fuzzing
