// The resident host's socket: HTTP/1.1 with JSON.
#pragma once

#include "host/api/Limits.h"
#include "host/api/Upload.h"
#include "host/resident/ResidentHost.h"

#include <functional>
#include <memory>

namespace bmhost {

/// Serves on one thread, however many clients there are: whoever waits for the adaptor costs a connection. The host
/// may answer late, never, or after the server's end.
class ApiServer {
public:
    /// @param listeningSocket  of the Unix domain; it stays the caller's
    /// @param host             outlives the server
    /// @param makeSink         where images go, limits.m_imageFolder; none: images are refused
    /// Throws std::runtime_error when the server cannot begin.
    ApiServer(int listeningSocket, ResidentHost& host, const ApiLimits& limits = {}, MakeUploadSink makeSink = {});
    /// Whoever still waits is answered with 503.
    ~ApiServer();
    ApiServer(const ApiServer&) = delete;
    ApiServer& operator=(const ApiServer&) = delete;

    /// Serves on the calling thread until Stop, and then answers whoever still waits with 503.
    /// @param eachTurn  called at least once a second: the service's watchdog is fed there
    void Run(const std::function<void()>& eachTurn);
    /// On any thread; before Run too, which then returns at once.
    void Stop();

private:
    class Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace bmhost
