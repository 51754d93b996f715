// Where lock and socket of a blade's resident host are.
#include "host/client/HostClient.h"

#include <cstdlib>

namespace bmhost {

HostPlace PlaceOfHost() {
    const char* const simulated = getenv("BLADESIM_RUN_DIR");
    return {simulated != nullptr && simulated[0] != '\0' ? simulated : "/run/bmhost"};
}

} // namespace bmhost
