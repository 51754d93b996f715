// The program that speaks TLS for a command: the command itself loads none.
#pragma once

#include "host/connect/Deadline.h"
#include "host/connect/Elsewhere.h"

#include "bm_dev/UniqueFd.h"

#include <string>
#include <sys/types.h>

namespace bmhost {

/// The file of that program: beside this one, as in a build folder, or where it is installed.
std::string HelperFile();

/// Runs as long as this object, or until the connection ends; the kernel ends it with this process. Its end leaves no
/// zombie.
class TlsHelper {
public:
    /// Starts the program. Throws std::system_error.
    /// @param socket  the command's end, nonblocking
    TlsHelper(const std::string& program, const Elsewhere& place, bm_dev::UniqueFd& socket);
    TlsHelper(const TlsHelper&) = delete;
    TlsHelper& operator=(const TlsHelper&) = delete;
    /// The command's end has to be closed before.
    ~TlsHelper();

    /// Until the other side has shown who it is. Throws DeadlinePassed; UsageError, Unreachable or NotAdmitted with
    /// what the helper tells.
    void AwaitReady(const Deadline& deadline);
    /// Why the connection has ended; empty when the other side ended it.
    std::string Fault();

    pid_t Process() const { return m_process; }

private:
    bool ReadMore();
    std::string NextLine();
    void End();
    std::string EndText();

    std::string m_url;
    std::string m_program;
    pid_t m_process = -1;
    bm_dev::UniqueFd m_lines;
    std::string m_read;
    bool m_ready = false;
    int m_status = 0; ///< once it has ended
};

} // namespace bmhost
