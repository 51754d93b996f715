// A connection to the resident host's socket: bytes with deadlines.
#pragma once

#include "host/client/HostClient.h"
#include "host/connect/Deadline.h"
#include "host/connect/TlsHelper.h"

#include "bm_dev/UniqueFd.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <system_error>

namespace bmhost {

/// Nobody reads any more what this process writes.
class NobodyReads : public std::system_error {
public:
    NobodyReads();
};

/// Waits so long. Throws it as soon as nobody reads this descriptor.
void WaitWhileRead(int output, std::chrono::milliseconds time);

struct HttpRequest;

/// The request without its body, as it is asked there.
std::string RequestHeadFor(const HostPlace& place, HttpRequest request);

/// Throws NotAdmitted when a blade elsewhere has answered so because of who asks: asked again with the same words it
/// would say the same, and let everybody else wait who uses the account.
void CheckAdmitted(const HostPlace& place, unsigned status);

class HostSocket {
public:
    /// Throws std::system_error with the reason, and DeadlinePassed when the host takes no connection; for a blade
    /// elsewhere also what host/connect throws.
    HostSocket(const HostPlace& place, const Deadline& deadline);

    /// The host's, by what the kernel knows of the other end; 0 when it knows none, as of a blade elsewhere.
    pid_t Process() const { return m_process; }

    /// Sends what the socket takes now, at least one byte. Nothing is sent, and 0 returned, when the host has sent
    /// something before, or has gone. Throws DeadlinePassed.
    std::size_t Send(std::string_view bytes, const Deadline& deadline);
    /// Appends what has come, at least one byte. False when the host has closed the connection. Throws DeadlinePassed,
    /// std::system_error.
    /// @param output  a descriptor, or -1; throws NobodyReads as soon as it is a pipe that nobody reads
    bool Receive(std::string& bytes, const Deadline& deadline, int output = -1);
    /// Whether there is something to receive, or an end.
    bool HasNews() const;

private:
    std::unique_ptr<TlsHelper> m_helper; ///< ends after the socket
    bm_dev::UniqueFd m_socket;
    pid_t m_process = 0;
};

} // namespace bmhost
