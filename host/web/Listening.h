// The sockets at which the web door is asked.
#pragma once

#include "host/web/Guards.h"

#include "bm_dev/UniqueFd.h"

#include <vector>

namespace bmhost {

struct ListeningSocket {
    ListenAddress m_address; ///< with the port that it has got
    bm_dev::UniqueFd m_socket;
};

/// Throws std::runtime_error naming address and reason.
ListeningSocket ListenAt(const ListenAddress& address);
/// Those that the service manager has opened for this process. Throws std::runtime_error for one that is none of TCP.
std::vector<ListeningSocket> ListeningSocketsOfServiceManager();

} // namespace bmhost
