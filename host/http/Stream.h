// An answer that goes on for as long as its reader stays: Server-Sent Events and the like.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace bmhost {

/// All on the server's thread.
class Stream {
public:
    virtual ~Stream() = default;

    /// Copies what comes next. 0: nothing yet, or the end. Asked again after HttpServer::WakeStreams and NextComment.
    virtual std::size_t Next(char* to, std::size_t most) = 0;
    virtual bool HasEnded() const = 0;
    /// Ends after what has been begun: the server ends.
    virtual void End() = 0;
    /// When the reader gets a sign of life, if nothing else comes.
    virtual std::chrono::steady_clock::time_point NextComment() const = 0;
    virtual std::string ContentType() const { return "text/event-stream"; }
};

} // namespace bmhost
