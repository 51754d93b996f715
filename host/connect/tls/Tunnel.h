// TLS for a process that speaks none: its bytes go through here.
#pragma once

#include <string>

namespace bmhost {

struct TunnelEnds {
    std::string m_host;
    std::string m_port;
    std::string m_trusted; ///< file with certificates; empty: whom the system trusts
    int m_socket = -1;     ///< whose bytes are copied
    int m_lines = -1;      ///< takes the lines of host/connect/HelperWords.h
};

/// Connects, checks who is there, and copies both ways until one side ends. Returns the program's status.
int RunTunnel(const TunnelEnds& ends);

} // namespace bmhost
