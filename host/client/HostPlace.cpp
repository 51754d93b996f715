// Where lock and socket of a blade's resident host are.
#include "host/client/HostClient.h"

#include "host/connect/Elsewhere.h"

#include <cstdlib>

namespace bmhost {

HostPlace PlaceOfHost() {
    const char* const simulated = getenv("BLADESIM_RUN_DIR");
    return {simulated != nullptr && simulated[0] != '\0' ? simulated : "/run/bmhost"};
}

std::string HostPlace::Text() const {
    return m_elsewhere != nullptr ? m_elsewhere->Url() : Socket();
}

} // namespace bmhost
